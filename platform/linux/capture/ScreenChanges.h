#pragma once

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "platform/linux/capture/CursorOverlay.h"
#include "platform/linux/frame/DamageHistory.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// What the server reports of changes before it is asked for them.
enum class DamageReport {
  something,  // once, that there are any
  // Where they are, and again when they have spread. Only for connections over which no pixels
  // come: a server that replies with pixels may take the pointer off the screen for that, and
  // Xorg's then put such a report, of an empty area, into the middle of its reply
  // (miSpriteGetImage in
  // https://gitlab.freedesktop.org/xorg/xserver/-/blob/xorg-server-21.1.7/mi/misprite.c, and a
  // trace of the bytes).
  bounds,
};

// Learns from the server which parts of the root window changed. The server reports, and then
// gathers until the damage is requested; so a busy screen costs few events for each poll. Used by
// the connection's thread; the connection must outlive it.
class X11DamageMonitor {
 public:
  // The extensions must have DAMAGE.
  X11DamageMonitor(X11Connection& connection, const X11Extensions& extensions, DamageReport report);
  X11DamageMonitor(const X11DamageMonitor&) = delete;
  X11DamageMonitor& operator=(const X11DamageMonitor&) = delete;
  ~X11DamageMonitor();

  void handle(const xcb_generic_event_t& event);
  [[nodiscard]] bool isPending() const { return pending; }
  // Where on the root window the changes were that were reported; there may be others. Empty unless
  // one is pending and bounds are reported.
  [[nodiscard]] const PixelRect& reportedArea() const { return reported; }

  // Requests the damage since the last request, without waiting. The server carries requests out in
  // the order in which they were sent: the reply names what was drawn before this request, and the
  // next reply what is drawn after it.
  void request();
  // Waits for the oldest reply that is pending; empty if none is. Only the damage within this area
  // of the root window, in coordinates relative to the area.
  [[nodiscard]] Damage waitForReply(const PixelRect& area);

 private:
  X11Connection& connection;
  X11Extensions::Events events;
  DamageReport report;
  xcb_damage_damage_t damage;
  xcb_xfixes_region_t parts;
  std::deque<xcb_xfixes_fetch_region_cookie_t> cookies;  // of the replies that are pending
  std::uint32_t takenAt = 0;  // number of the request that took the last changes
  bool pending = false;
  PixelRect reported;
};

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
