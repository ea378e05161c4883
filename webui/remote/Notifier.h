#pragma once

#include <gio/gio.h>

#include <functional>
#include <set>
#include <string>

#include "platform/unix/FileDescriptor.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin::webui {

// The user's session bus, if it can be reached without a program being started: as
// DBUS_SESSION_BUS_ADDRESS names it, or "bus" in XDG_RUNTIME_DIR. Empty if not.
[[nodiscard]] std::string sessionBusAddress();

// Shows the desktop's notifications (org.freedesktop.Notifications,
// https://specifications.freedesktop.org/notification-spec/) with a button "Stop". Without a bus or
// a service nothing is shown. On the main loop's thread.
class Notifier {
 public:
  // Waits for the bus.
  Notifier(const std::string& busAddress, std::function<void()> onStop);
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

// A process of its own that has a Notifier. Whoever reads a stranger's bytes does without the
// session bus, over which programs can be started. Ends with this object.
class NotifierProcess {
 public:
  // Makes the process, which must be done before there is a second thread; it keeps nothing open.
  // Without an address there is none, and nothing is shown.
  NotifierProcess(const std::string& busAddress, std::function<void()> onStop);

  void show(const std::string& title, const std::string& text) const;

 private:
  FileDescriptor orders;
  MainLoopSource stops;
};

}  // namespace quorvin::webui
