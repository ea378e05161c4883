#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/e2e/link/JpegHeader.h"
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

// Looks at the windows of a screen as a window manager would (https://tronche.com/gui/x/icccm/),
// and asks a running one to change them
// (https://specifications.freedesktop.org/wm-spec/wm-spec-latest.html).
class WindowProbe {
 public:
  explicit WindowProbe(const std::string& display) : connection(display) {}

  // The top-level windows that are on the screen now.
  [[nodiscard]] std::vector<xcb_window_t> shownWindows() const;
  // Those that a window manager looks after, shown or minimised.
  [[nodiscard]] std::vector<xcb_window_t> managedWindows() const;
  // The first one of that title, once there is one; nothing when none comes.
  [[nodiscard]] std::optional<xcb_window_t> waitForWindow(const std::string& title) const;
  // The same of the windows that a window manager looks after, which are in frames of its own.
  [[nodiscard]] std::optional<xcb_window_t> waitForManagedWindow(const std::string& title) const;
  // Whether one is at work, sooner or later.
  [[nodiscard]] bool waitForWindowManager() const;
  [[nodiscard]] JpegSize sizeOf(xcb_window_t window) const;
  // As the close button of a title bar does.
  void askToClose(xcb_window_t window) const;
  // Ends the window's program, as far as the X server can: it closes that connection.
  void kill(xcb_window_t window) const;
  // The same for whatever has windows of GTK's, shown or not; false when there is none.
  [[nodiscard]] bool killGtk() const;
  // As an entry of a task bar does: shows the window, above the others and with the input focus.
  // False when no window manager comes to look after it.
  [[nodiscard]] bool activate(xcb_window_t window) const;
  // As the minimise button of a title bar does.
  void minimize(xcb_window_t window) const;
  // As a pager does; counted from 0.
  void switchToDesktop(std::uint32_t number) const;

 private:
  using Windows = std::vector<xcb_window_t>;
  using Property = std::unique_ptr<xcb_get_property_reply_t, FreeReply>;

  static std::optional<xcb_window_t> waitFor(
      const std::function<std::optional<xcb_window_t>()>& find);
  [[nodiscard]] std::optional<xcb_window_t> findTitle(const Windows& windows,
                                                      const std::string& title) const;
  void tellWindowManager(xcb_window_t window, const std::string& type, std::uint32_t first) const;
  [[nodiscard]] bool isShown(xcb_window_t window) const;
  [[nodiscard]] std::string titleOf(xcb_window_t window) const;
  [[nodiscard]] Property property(xcb_window_t window, const std::string& name) const;

  XcbConnection connection;
};

}  // namespace quorvin
