#include "webui/remote/Notifier.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

#include "platform/unix/DesktopText.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin::webui {

namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* object = "/org/freedesktop/Notifications";
constexpr const char* stopAction = "stop";

constexpr auto connectionFlags = static_cast<GDBusConnectionFlags>(
    G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

constexpr unsigned connectingMaxSeconds = 10;
constexpr std::size_t orderBytesMax = 4096;
constexpr char betweenTexts = '\0';

// Of the process that shows notifications; the other end has gone when there is no order.
bool carryOut(const FileDescriptor& orders, Notifier& notifier) {
  std::string order(orderBytesMax, betweenTexts);
  const auto size = ::recv(orders.get(), order.data(), order.size(), 0);
  if (size <= 0) ::_exit(EXIT_SUCCESS);
  order.resize(static_cast<std::size_t>(size));
  const auto end = std::min(order.find(betweenTexts), order.size() - 1);
  notifier.show(order.substr(0, end), order.substr(end + 1));
  return true;
}

[[noreturn]] void serve(const FileDescriptor& orders, const std::string& busAddress) {
  const MainContext context;      // the default one has the sources of the process before
  ::alarm(connectingMaxSeconds);  // ends a process that nobody would end otherwise
  Notifier notifier(busAddress, [&] { ::send(orders.get(), "s", 1, MSG_NOSIGNAL); });
  ::alarm(0);
  const auto readable = MainLoopSource::onDescriptor(
      context.get(), orders.get(), G_IO_IN,
      MainLoopSource::whileTrue([&] { return carryOut(orders, notifier); }));
  while (true) g_main_context_iteration(context.get(), TRUE);
}

}  // namespace

std::string sessionBusAddress() {
  auto address = environmentVariable("DBUS_SESSION_BUS_ADDRESS");
  if (!address.empty()) return address.starts_with("unix:") ? address : "";
  const auto socket = environmentVariable("XDG_RUNTIME_DIR") + "/bus";
  std::error_code ignored;
  if (!std::filesystem::is_socket(socket, ignored)) return {};
  const GlibPtr<char> escaped(g_dbus_address_escape_value(socket.c_str()));
  return std::string("unix:path=") + escaped.get();
}

Notifier::Notifier(const std::string& busAddress, std::function<void()> onStop)
    : onStop(std::move(onStop)),
      connection(g_dbus_connection_new_for_address_sync(busAddress.c_str(), connectionFlags,
                                                        nullptr, nullptr, nullptr)) {
  if (!connection) return;
  subscription = g_dbus_connection_signal_subscribe(
      connection.get(), service, service, "ActionInvoked", object, nullptr,
      G_DBUS_SIGNAL_FLAGS_NONE, onAction, this, nullptr);
}

Notifier::~Notifier() {
  g_cancellable_cancel(calls.get());
  if (connection) g_dbus_connection_signal_unsubscribe(connection.get(), subscription);
}

void Notifier::show(const std::string& title, const std::string& text) {
  if (!connection) return;
  constexpr guint32 replacesNone = 0;
  constexpr int defaultTime = -1;
  GVariantBuilder actions;
  g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
  g_variant_builder_add(&actions, "s", stopAction);
  g_variant_builder_add(&actions, "s", desktopText("notification.stop").c_str());
  // The text may be read as markup, the title is not.
  const GlibPtr<char> escaped(g_markup_escape_text(text.c_str(), -1));
  g_dbus_connection_call(
      connection.get(), service, object, service, "Notify",
      g_variant_new("(susssasa{sv}i)", "Quorvin Support", replacesNone, "", title.c_str(),
                    escaped.get(), &actions, nullptr, defaultTime),
      G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, calls.get(), onShown, this);
}

void Notifier::onShown(GObject* connection, GAsyncResult* result, gpointer self) {
  GError* failure = nullptr;
  const GlibPtr<GVariant> answer(
      g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, &failure));
  const GlibPtr<GError> error(failure);
  if (!answer) return;  // and perhaps no notifier any more
  guint32 id = 0;
  g_variant_get(answer.get(), "(u)", &id);
  static_cast<Notifier*>(self)->shown.insert(id);
}

void Notifier::onAction(GDBusConnection* /*connection*/, const char* /*sender*/,
                        const char* /*path*/, const char* /*interface*/, const char* /*signal*/,
                        GVariant* arguments, gpointer self) {
  if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(us)")) == FALSE) return;
  guint32 id = 0;
  const char* action = nullptr;
  g_variant_get(arguments, "(u&s)", &id, &action);
  const auto& notifier = *static_cast<Notifier*>(self);
  if (notifier.shown.contains(id) && std::string_view(action) == stopAction) notifier.onStop();
}

NotifierProcess::NotifierProcess(const std::string& busAddress, std::function<void()> onStop) {
  std::array<int, 2> ends{};
  if (busAddress.empty() ||
      ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    return;
  }
  orders = FileDescriptor(ends[0]);
  const FileDescriptor taken(ends[1]);
  const pid_t child = ::fork();
  if (child == 0) {
    // A child of a child is not this process' to wait for.
    if (::fork() != 0) ::_exit(EXIT_SUCCESS);
    constexpr int first = STDERR_FILENO + 1;
    const FileDescriptor kept(::dup2(taken.get(), first));
    ::close_range(first + 1, ~0U, 0);
    serve(kept, busAddress);
  }
  if (child > 0) ::waitpid(child, nullptr, 0);
  stops = MainLoopSource::onDescriptor(
      nullptr, orders.get(), G_IO_IN, MainLoopSource::whileTrue([this, onStop = std::move(onStop)] {
        char word = 0;
        if (::recv(orders.get(), &word, sizeof word, MSG_DONTWAIT) <= 0) return false;
        onStop();
        return true;
      }));
}

// A process that does not take its orders is not waited for.
void NotifierProcess::show(const std::string& title, const std::string& text) const {
  const auto order = title + betweenTexts + text;
  static_cast<void>(::send(orders.get(), order.data(), order.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
}

}  // namespace quorvin::webui
