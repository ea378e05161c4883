#pragma once

#include <gio/gio.h>

#include <chrono>
#include <functional>
#include <set>
#include <string>

#include "platform/unix/GlibPtr.h"

namespace quorvin::webui {

// The user's session bus, if it can be reached without a program being started: as
// DBUS_SESSION_BUS_ADDRESS names it, or "bus" in XDG_RUNTIME_DIR. Empty if not.
[[nodiscard]] std::string sessionBusAddress();

// Shows the desktop's notifications (org.freedesktop.Notifications,
// https://specifications.freedesktop.org/notification-spec/) with a button "Stop". Without a bus or
// a service, or with one that does not answer, nothing is shown. On the main loop's thread.
class Notifier {
 public:
  static constexpr std::chrono::milliseconds connectingMax{2'000};

  // Connects, which takes no longer than `connectingMax`; no socket is opened later.
  Notifier(const std::string& busAddress, std::function<void()> onStop,
           std::chrono::milliseconds timeMax = connectingMax);
  Notifier(const Notifier&) = delete;
  Notifier& operator=(const Notifier&) = delete;
  ~Notifier();

  // Both are plain text.
  void show(const std::string& title, const std::string& text);

 private:
  static void onShown(GObject* connection, GAsyncResult* result, gpointer self);
  static void onAction(GDBusConnection* connection, const char* sender, const char* path,
                       const char* interface, const char* signal, GVariant* arguments,
                       gpointer self);

  std::function<void()> onStop;
  GlibPtr<GDBusConnection> connection;
  GlibPtr<GCancellable> calls{g_cancellable_new()};
  guint subscription = 0;
  std::set<guint32> shown;
};

}  // namespace quorvin::webui
