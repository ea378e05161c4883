#pragma once

#include <memory>
#include <string>

#include "platform/linux/DisplayAttempt.h"
#include "platform/linux/input/InputInjector.h"
#include "platform/linux/input/InputJournal.h"

namespace quorvin {

// The way to the X server, made when it is first needed and made anew when it broke. Main thread;
// no call waits longer than a second for a server that does not answer.
class InputConnection {
 public:
  // `display` as in DISPLAY. The journal must outlive this object.
  InputConnection(std::string display, InputJournal& journal);
  ~InputConnection();

  // Null when there is no server to talk to at the moment.
  [[nodiscard]] InputInjector* injector();

 private:
  void start();
  [[nodiscard]] bool isConnected();

  std::string display;
  InputJournal& journal;
  std::shared_ptr<InputServer> server;  // filled in by the attempt
  std::unique_ptr<DisplayAttempt> attempt;
  std::unique_ptr<InputInjector> current;
  InputInjector::Leftovers left;  // of the last one, when its connection broke
};

}  // namespace quorvin
