#pragma once

#include <string>

#include "platform/linux/x11/DisplayAttempt.h"

namespace quorvin {

// Keeps an X server's own screen saver from starting for as long as it exists (MIT-SCREEN-SAVER,
// https://www.x.org/releases/current/doc/scrnsaverproto/saver.html). A display that cannot be
// opened or has no such extension is left alone. The server ends it by itself when the connection
// goes. Main thread; takes effect a moment later, since nothing waits for the server.
class InhibitScreenSaver {
 public:
  explicit InhibitScreenSaver(const std::string& display);

 private:
  DisplayAttempt attempt;
};

}  // namespace quorvin
