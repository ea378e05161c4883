#pragma once

#include <xcb/xfixes.h>

#include <memory>
#include <optional>

#include "platform/linux/capture/CursorOverlay.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Server.h"

namespace quorvin {

// Where the pointer is, in coordinates of the root window, and what it looks like.
struct X11Cursor {
  int x = 0;
  int y = 0;
  std::shared_ptr<const CursorImage> image;  // a new object for each new shape; null if unknown

  friend bool operator==(const X11Cursor&, const X11Cursor&) = default;
};

// Notices that the pointer moved or changed its shape. Used by the connection's thread; the
// connection must outlive it.
class X11CursorMonitor {
 public:
  X11CursorMonitor(X11Connection& connection, const X11Extensions& extensions);
  X11CursorMonitor(const X11CursorMonitor&) = delete;
  X11CursorMonitor& operator=(const X11CursorMonitor&) = delete;
  ~X11CursorMonitor();

  void handle(const xcb_generic_event_t& event);
  // True when an event said that `current` may differ from what it was.
  [[nodiscard]] bool isPending() const { return moved || reshaped; }
  // False when the server has no means to tell of motion, so that one has to poll.
  [[nodiscard]] bool hearsMotion() const { return input.has_value(); }
  // Sends the requests without waiting, so that the replies come along with others.
  void request();
  // Waits for the replies, and sends the requests if nobody has. Empty while the pointer is on
  // another screen or the connection broke.
  [[nodiscard]] std::optional<X11Cursor> current();

 private:
  void select(bool wanted);
  [[nodiscard]] std::shared_ptr<const CursorImage> takeImage(
      xcb_xfixes_get_cursor_image_cookie_t cookie);
  void discardReplies();

  X11Connection& connection;
  std::optional<X11Extensions::Events> fixes;
  std::optional<X11Extensions::Requests> input;
  std::shared_ptr<const CursorImage> image;
  bool moved = true;
  bool reshaped = true;
  std::optional<xcb_query_pointer_cookie_t> pointerCookie;
  std::optional<xcb_xfixes_get_cursor_image_cookie_t> imageCookie;
};

}  // namespace quorvin
