#pragma once

#include <gdk/gdk.h>

#include "platform/linux/FileDescriptor.h"

namespace quorvin {

// Keeps the process alive when the X server of GDK's display goes away, where Xlib and GDK would
// end it on the spot: the session must still be wound up and the user interface be answered. From
// then on the display is deaf and dumb; calls of GTK have no effect. Main thread; lives as long as
// anything uses the display.
class DisplayGuard {
 public:
  // Does nothing for a display that is not an X server's.
  explicit DisplayGuard(GdkDisplay* display);
  DisplayGuard(const DisplayGuard&) = delete;
  DisplayGuard& operator=(const DisplayGuard&) = delete;
  ~DisplayGuard() = default;

 private:
  FileDescriptor silence;
};

}  // namespace quorvin
