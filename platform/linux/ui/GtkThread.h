#pragma once

#include <functional>
#include <memory>
#include <thread>

namespace quorvin {

// The thread on which GTK lives, with the process's default GLib main context. It is not the main
// thread, so that neither drawing nor a display that hangs or dies holds up the rest of the host.
// GTK and Xlib cannot live on without their X server: when it goes away, the thread stops for good
// where it is, and the host goes on without a window.
class GtkThread {
 public:
  // Returns once GTK is ready. Throws StartUpError when there is no display that answers.
  // `onDisplayLost` is the last that runs on the thread when the X server has gone away.
  explicit GtkThread(std::function<void()> onDisplayLost);
  GtkThread(const GtkThread&) = delete;
  GtkThread& operator=(const GtkThread&) = delete;
  // Runs what was posted before and ends the thread. One that is stuck is left behind; the process
  // then ends without the exit handlers of its libraries.
  ~GtkThread();

  // Runs the task on the thread, after those posted before; not at all when the display is gone.
  // Any thread.
  void post(std::function<void()> task) const;

 private:
  class State;

  [[noreturn]] static void stopForGood(State& state);
  static void run(const std::shared_ptr<State>& state);

  void leaveBehind();

  std::shared_ptr<State> state;
  std::thread thread;
};

}  // namespace quorvin
