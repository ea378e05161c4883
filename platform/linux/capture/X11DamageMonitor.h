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
// does not tell them, since it may hold much of what lies between two changes.
struct ScreenChanges {
  PixelRegion region;
  RowSet rows;
  std::vector<PixelRect> parts;

  void add(const PixelRect& rect) {
    if (rect.isEmpty()) return;
    region.add(rect);
    rows.add({rect.y, rect.bottom()});
    parts.push_back(rect);
  }
  void add(const ScreenChanges& others) {
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
  // come: a server that answers with pixels may take the pointer off the screen for that, and
  // Xorg's then put such a report, of an empty area, into the middle of its answer.
  bounds,
};

// Learns from the server which parts of the root window changed. The server reports, and then
// gathers until it is asked what; so a busy screen costs few events for each look. Used by the
// connection's thread; the connection must outlive it.
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

  // Asks what changed since it was last asked, without waiting. The server carries requests out in
  // the order in which they were sent: what is drawn before this one is named by its answer, and
  // what is drawn later by the next.
  void ask();
  // The answer to the first question that has none, as far as it lies within this area of the root
  // window, in coordinates relative to it. Waits for it; empty if there is no such question.
  [[nodiscard]] ScreenChanges answer(const PixelRect& area);
  // Both at once, when no question waits for its answer. Pixels fetched after it are at least as
  // new as the changes it names.
  [[nodiscard]] ScreenChanges take(const PixelRect& area) {
    ask();
    return answer(area);
  }

 private:
  X11Connection& connection;
  X11Extensions::Events events;
  DamageReport report;
  xcb_damage_damage_t damage;
  xcb_xfixes_region_t parts;
  std::deque<xcb_xfixes_fetch_region_cookie_t> asked;  // and not answered
  std::uint32_t takenAt = 0;  // number of the request that took the last changes
  bool pending = false;
  PixelRect reported;
};

}  // namespace quorvin
