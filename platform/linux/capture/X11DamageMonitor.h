#pragma once

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <deque>
#include <vector>

#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Extensions.h"

namespace quorvin {

// What changed on a display: a region to fetch, and exactly the parts and their rows. The region
// may be larger than its parts, since it holds much of what lies between two of them.
struct ScreenDamage {
  PixelRegion region;
  RowSet rows;
  std::vector<PixelRect> parts;

  void add(const PixelRect& rect) {
    if (rect.isEmpty()) return;
    region.add(rect);
    rows.add({rect.y, rect.bottom()});
    parts.push_back(rect);
  }
  void add(const ScreenDamage& others) {
    for (const PixelRect& part : others.parts) add(part);
  }
  void clear() {
    region.clear();
    rows.clear();
    parts.clear();
  }
  [[nodiscard]] bool isEmpty() const { return rows.isEmpty(); }
};

// What the server reports of changes before it is asked for them.
enum class DamageReport {
  something,  // once, that there are any
  // Where they are, and again when they have spread. Only for connections over which no pixels
  // come: a server that replies with pixels may take the pointer off the screen for that, and
  // Xorg's then put such a report, of an empty area, into the middle of its reply.
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
  [[nodiscard]] ScreenDamage waitForReply(const PixelRect& area);
  // Both at once, when no reply is pending. Pixels fetched after it are at least as
  // new as the changes it names.
  [[nodiscard]] ScreenDamage take(const PixelRect& area) {
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
