#pragma once

#include <functional>
#include <memory>
#include <thread>

namespace quorvin {

// The thread on which GTK lives, with the process's default GLib main context. It is not the main
// thread, so that neither drawing nor a display that hangs or dies holds up the rest of the host.
// GTK and Xlib cannot live on without their connection to the X server: when that goes away, be it
// with the server, the thread stops for good where it is.
class GtkThread {
 public:
  // Does not wait for the display. `onDisplayLost` is the last that runs on the thread, when the
  // display cannot be opened or its connection has gone away.
  explicit GtkThread(std::function<void(bool wasOpen)> onDisplayLost);
  // Runs what was posted before and ends the thread. One that is stuck is left behind; the process
  // then ends without the exit handlers of its libraries.
  ~GtkThread();

  // Whether the display has been opened. Any thread.
  [[nodiscard]] bool isReady() const;

  // Runs the task on the thread, after those posted before, once there is a display; not at all
  // when that is gone. Any thread.
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
