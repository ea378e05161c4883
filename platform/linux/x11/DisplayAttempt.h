#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// One attempt to open an X display, made on a thread of its own, since libxcb waits without end for
// a server that takes the connection and then does not answer. Belongs to one thread; neither its
// construction nor its destruction waits for the server.
class DisplayAttempt {
 public:
  // Runs on the attempt's thread once the display is open; the connection is closed again when it
  // returns false. It may outlive this object.
  using Prepare = std::function<bool(X11Connection&)>;

  DisplayAttempt(const std::string& display, Prepare prepare);
  DisplayAttempt(const DisplayAttempt&) = delete;
  DisplayAttempt& operator=(const DisplayAttempt&) = delete;
  // Closes the connection; that of an attempt still going on, at the end of the attempt.
  ~DisplayAttempt();

  // Waits for the end of the attempt, but not longer than this.
  [[nodiscard]] bool isOverWithin(std::chrono::milliseconds limit);
  // Once the attempt is over: the connection, which this object keeps, or null.
  [[nodiscard]] X11Connection* connection();

 private:
  struct Outcome;
  static void make(const std::shared_ptr<Outcome>& outcome, const std::string& display,
                   const Prepare& prepare);

  const std::shared_ptr<Outcome> outcome;
  std::thread thread;
};

}  // namespace quorvin
