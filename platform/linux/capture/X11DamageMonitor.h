#pragma once

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <deque>

#include "platform/linux/frame/DamageHistory.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Server.h"

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
  // Both at once, when no reply is pending. Pixels fetched after it are at least as
  // new as the changes it names.
  [[nodiscard]] Damage take(const PixelRect& area) {
    request();
    return waitForReply(area);
  }

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

}  // namespace quorvin
