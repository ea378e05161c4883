#include "platform/linux/system/Activity.h"

#include <gio/gio.h>
#include <xcb/screensaver.h>

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/unix/GlibPtr.h"

namespace quorvin {
namespace {

constexpr auto applicationId = "com.quorvin.support";

// How a service is told to begin and to end; beginning answers with a number, the cookie, that
// ending takes.
struct Service {
  const char* name;
  const char* path;
  const char* interface;
  const char* begin;
  const char* end;
  GVariant* (*beginArguments)(const std::string& reason);
};

GVariant* nameAndReason(const std::string& reason) {
  return g_variant_new("(ss)", applicationId, reason.c_str());
}

GVariant* sessionManagerArguments(const std::string& reason) {
  constexpr guint32 noWindow = 0;
  constexpr guint32 suspending = 4;
  constexpr guint32 idling = 8;
  return g_variant_new("(susu)", applicationId, noWindow, reason.c_str(), suspending | idling);
}

constexpr std::array<Service, 3> services{
    Service{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
            "org.freedesktop.ScreenSaver", "Inhibit", "UnInhibit", &nameAndReason},
    Service{"org.freedesktop.PowerManagement.Inhibit", "/org/freedesktop/PowerManagement/Inhibit",
            "org.freedesktop.PowerManagement.Inhibit", "Inhibit", "UnInhibit", &nameAndReason},
    Service{"org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager",
            "Inhibit", "Uninhibit", &sessionManagerArguments},
};

bool suspendScreenSaver(X11Connection& display) {
  const auto* extension = xcb_get_extension_data(display.get(), &xcb_screensaver_id);
  if (extension == nullptr || extension->present == 0) return false;
  // Servers take the request from clients that said they know of version 1.1, which brought it.
  const auto version = xcb_screensaver_query_version(display.get(), 1, 1);
  return x11Reply(xcb_screensaver_query_version_reply, display.get(), version) != nullptr &&
         display.succeeded(xcb_screensaver_suspend_checked(display.get(), 1));
}

}  // namespace

// Lives until the last answer is in, since a cookie that comes late still has to be given back.
// With the last reference to it the connection ends.
class Activity::IdleRequests : public std::enable_shared_from_this<IdleRequests> {
 public:
  explicit IdleRequests(std::string reason) : reason(std::move(reason)) {}

  void connect(const std::string& busAddress) {
    constexpr auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    g_dbus_connection_new_for_address(busAddress.c_str(), flags, nullptr, cancellable.get(),
                                      &onConnected, new Call{shared_from_this(), nullptr});
  }

  void end() {
    isWanted = false;
    g_cancellable_cancel(cancellable.get());
    for (const auto& [service, cookie] : std::exchange(cookies, {})) giveBack(*service, cookie);
  }

 private:
  struct Call {
    std::shared_ptr<IdleRequests> requests;
    const Service* service;
  };

  static std::unique_ptr<Call> take(gpointer call) {
    return std::unique_ptr<Call>(static_cast<Call*>(call));
  }

  static void onConnected(GObject* /*source*/, GAsyncResult* result, gpointer data) noexcept {
    const auto call = take(data);
    auto& self = *call->requests;
    self.connection.reset(g_dbus_connection_new_for_address_finish(result, nullptr));
    if (self.connection == nullptr || !self.isWanted) return;
    for (const Service& service : services) {
      self.send(service, service.begin, service.beginArguments(self.reason), "(u)", &onBegun);
    }
  }

  static void onBegun(GObject* source, GAsyncResult* result, gpointer data) noexcept {
    const auto call = take(data);
    GVariant* answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr);
    if (answer == nullptr) return;  // no such service, or one that will not
    guint32 cookie = 0;
    g_variant_get(answer, "(u)", &cookie);
    g_variant_unref(answer);
    if (call->requests->isWanted) {
      call->requests->cookies.emplace_back(call->service, cookie);
    } else {
      call->requests->giveBack(*call->service, cookie);
    }
  }

  static void onGivenBack(GObject* source, GAsyncResult* result, gpointer data) noexcept {
    const auto call = take(data);
    GVariant* answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr);
    if (answer != nullptr) g_variant_unref(answer);
  }

  void giveBack(const Service& service, guint32 cookie) {
    send(service, service.end, g_variant_new("(u)", cookie), nullptr, &onGivenBack);
  }

  void send(const Service& service, const char* method, GVariant* arguments, const char* answerType,
            GAsyncReadyCallback callback) {
    constexpr int defaultTimeout = -1;
    g_dbus_connection_call(connection.get(), service.name, service.path, service.interface, method,
                           arguments, answerType != nullptr ? G_VARIANT_TYPE(answerType) : nullptr,
                           G_DBUS_CALL_FLAGS_NO_AUTO_START, defaultTimeout, nullptr, callback,
                           new Call{shared_from_this(), &service});
  }

  const std::string reason;
  // Of the connecting only: a request that was sent is waited for.
  const GlibPtr<GCancellable> cancellable{g_cancellable_new()};
  GlibPtr<GDBusConnection> connection;
  bool isWanted = true;
  std::vector<std::pair<const Service*, guint32>> cookies;
};

Activity::Activity(const ActivityServices& targets, const std::string& reason) {
  if (!targets.display.empty()) {
    screenSaver = std::make_unique<DisplayAttempt>(targets.display, &suspendScreenSaver);
  }
  if (targets.busAddress.empty()) return;
  idle = std::make_shared<IdleRequests>(reason);
  idle->connect(targets.busAddress);
}

void Activity::end() {
  screenSaver.reset();
  if (const auto ended = std::exchange(idle, nullptr)) ended->end();
}

}  // namespace quorvin
