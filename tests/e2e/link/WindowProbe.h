#pragma once

#include <xcb/xcb.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/e2e/link/JpegHeader.h"

namespace quorvin {

// Looks at the windows of a screen as a window manager would (https://tronche.com/gui/x/icccm/).
class WindowProbe {
 public:
  explicit WindowProbe(const std::string& display);

  // The top-level windows that are on the screen now.
  [[nodiscard]] std::vector<xcb_window_t> shownWindows() const;
  // The first one of that title, once there is one; nothing when none comes.
  [[nodiscard]] std::optional<xcb_window_t> waitForWindow(const std::string& title) const;
  [[nodiscard]] JpegSize sizeOf(xcb_window_t window) const;
  // As the close button of a title bar does.
  void askToClose(xcb_window_t window) const;

 private:
  [[nodiscard]] xcb_window_t root() const;
  [[nodiscard]] bool isShown(xcb_window_t window) const;
  [[nodiscard]] std::string titleOf(xcb_window_t window) const;
  [[nodiscard]] xcb_atom_t atom(const std::string& name) const;

  std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection;
};

}  // namespace quorvin
