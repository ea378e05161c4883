#pragma once

#include <xcb/xcb.h>

#include <string>

#include "tests/e2e/link/XcbConnection.h"

namespace quorvin {

// A window of another program, plain grey, which the X server knows of from when this has been made
// until it is destroyed.
class OtherWindow {
 public:
  enum class Kind {
    corner,      // small, in the corner of the screen
    fullScreen,  // over the whole screen, when the window manager puts it there
    curtain,     // over the whole screen and everything on it, past the window manager
  };

  OtherWindow(const std::string& display, Kind kind);

  [[nodiscard]] xcb_window_t id() const { return window; }

 private:
  void askForFullScreen() const;

  XcbConnection connection;
  xcb_window_t window;
};

}  // namespace quorvin
