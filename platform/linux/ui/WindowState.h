#pragma once

#include <vector>

#include "platform/Application.h"

namespace quorvin {

// What the X server and the window manager have told of a window.
struct WindowState {
  bool isShown = false;      // neither withdrawn nor not shown yet
  bool isIconified = false;  // minimised
  bool hasFocus = false;     // gets what is typed
  bool isUncovered = false;  // mapped, and some of it not covered by other windows

  // Whether it is open on some desktop.
  [[nodiscard]] bool isVisible() const { return isShown && !isIconified; }
  // Whether any of it can be seen.
  [[nodiscard]] bool isSeen() const { return isVisible() && isUncovered; }

  friend bool operator==(const WindowState&, const WindowState&) = default;
};

// What a window has to tell of a change, in order.
[[nodiscard]] std::vector<Notification> windowNotifications(const WindowState& former,
                                                            const WindowState& now);

// What an application has to tell whose only window has changed so: it is active while that has
// the focus, and seen when that is.
[[nodiscard]] std::vector<Notification> applicationNotifications(const WindowState& former,
                                                                 const WindowState& now);

}  // namespace quorvin
