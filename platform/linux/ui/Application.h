#pragma once

#include <glib.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Application.h"
#include "platform/linux/link/UiProgram.h"
#include "platform/linux/ui/GtkThread.h"
#include "platform/linux/ui/Window.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin {

class LinuxDispatch;
class LinuxNotificationCenter;

// The application over a GTK window and the UI link. Runs on the main thread, whose GLib main
// context must not be the process's default one: that is the GTK thread's.
//
// Without a display or the UI link it does not start: it writes one line to standard error and ends
// with status 1. It waits a short time for a slow display before anything is loaded; a display that
// never answers ends the application later.
//
// It ends when the delegate lets its window's closing end it, when the other side closes the UI
// link, and on SIGTERM, SIGINT and SIGHUP. A window that loses its connection to the display counts
// as closed. The status is 0, but 1 in two cases: the link was closed while the application
// outlives its windows (its supervisor then starts it and the user interface again), or the
// user-interface program that was started here has failed.
class LinuxApplication final : public Application {
 public:
  // What else belongs to a run; called on the main thread.
  struct Surroundings {
    std::function<void()> begin;  // once there is a display, or waiting for it took too long
    // Whether it is known after that what the display allows and where it is.
    std::function<bool()> isReady;
    // Begins to end it, and waits for that no longer than this.
    std::function<void(std::chrono::milliseconds)> endWithin;
  };

  LinuxApplication(GMainContext* context, LinuxDispatch& dispatch,
                   LinuxNotificationCenter& notificationCenter, Surroundings surroundings);
  ~LinuxApplication() override;

  // When this returns everything made for the run is gone: listeners are cancelled, handlers
  // forgotten, queued tasks run, the user-interface program has left. To be called once.
  int run(int argc, char** argv, ApplicationFactories factories) override;

  [[nodiscard]] bool exists() override { return isMade; }
  // Never: X11 knows windows, each of which may be minimised, and no applications.
  [[nodiscard]] bool isHidden() override { return false; }
  // While its window has the input focus.
  [[nodiscard]] bool isActive() override;
  // An accessory's window has no entry in the task bar.
  void setActivationPolicy(ActivationPolicy policy) override;
  [[nodiscard]] std::vector<Window*> windows() override;

 private:
  void handleSignals();
  [[nodiscard]] FileDescriptor connectUserInterface();
  void load(const ApplicationFactories& factories, FileDescriptor uiSocket);
  void runLoop();
  void finish();
  void endUserInterface();
  [[nodiscard]] std::weak_ptr<const LinuxMessenger> letGoOfProgram();
  void runUntil(const std::function<bool()>& condition);
  void startGtk();
  void displayLost(bool wasOpen);
  void failToStart(const StartUpError& error);
  void windowClosed();
  void windowChanged(const WindowState& former, const WindowState& now);
  void linkClosed();
  void end(int status);

  GMainContext* context;
  LinuxDispatch& dispatch;
  LinuxNotificationCenter& notificationCenter;
  const Surroundings surroundings;
  std::array<MainLoopSource, 3> signals;
  std::unique_ptr<GtkThread> gtk;
  MainLoopSource displayDeadline;
  std::unique_ptr<UiProgram> uiProgram;  // unless it was there first and started this process
  std::unique_ptr<ApplicationDelegate> delegate;
  std::unique_ptr<LinuxWindow> window;
  std::shared_ptr<MainWindow> mainWindow;
  GMainLoop* loop = nullptr;  // while it runs
  std::optional<int> exitStatus;
  bool uiLeftFirst = false;  // before anything else had ended this run
  bool isMade = false;
};

}  // namespace quorvin
