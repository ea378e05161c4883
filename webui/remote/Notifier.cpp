#include "webui/remote/Notifier.h"

#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/unix/MainLoopSource.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin::webui {

namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* object = "/org/freedesktop/Notifications";
constexpr const char* stopAction = "stop";

struct VariantDelete {
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
};
using VariantPtr = std::unique_ptr<GVariant, VariantDelete>;

void onConnected(GObject* /*source*/, GAsyncResult* result, gpointer connection) {
  *static_cast<GAsyncResult**>(connection) = static_cast<GAsyncResult*>(g_object_ref(result));
}

// Waits in a context of its own, in which nothing else of the program runs.
GlibPtr<GDBusConnection> connectTo(const std::string& address, std::chrono::milliseconds timeMax) {
  const MainContext context;
  const GlibPtr<GCancellable> cancellable(g_cancellable_new());
  const auto limit = MainLoopSource::onTimeout(context.get(), timeMax, MainLoopSource::once([&] {
                                                 g_cancellable_cancel(cancellable.get());
                                               }));
  GAsyncResult* result = nullptr;
  constexpr auto flags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  g_dbus_connection_new_for_address(address.c_str(), flags, nullptr, cancellable.get(), onConnected,
                                    &result);
  while (result == nullptr) g_main_context_iteration(context.get(), TRUE);
  const GlibPtr<GAsyncResult> owned(result);
  return GlibPtr<GDBusConnection>(g_dbus_connection_new_for_address_finish(result, nullptr));
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

Notifier::Notifier(const std::string& busAddress, std::function<void()> onStop,
                   std::chrono::milliseconds timeMax)
    : onStop(std::move(onStop)) {
  if (!busAddress.empty()) connection = connectTo(busAddress, timeMax);
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
  g_variant_builder_add(&actions, "s", "Stop");
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
  const VariantPtr answer(
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

}  // namespace quorvin::webui
