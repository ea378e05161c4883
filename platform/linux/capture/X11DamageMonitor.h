#pragma once

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <optional>

#include "platform/linux/X11Connection.h"
#include "platform/linux/capture/ScreenChanges.h"
#include "platform/linux/capture/X11Extensions.h"

namespace quorvin {

// Learns from the server which parts of the root window changed. The server reports once that
// there is something and then keeps quiet, gathering, until it is asked what; so a busy screen
// costs one event for each look. Used by the connection's thread; the connection must outlive it.
class X11DamageMonitor {
 public:
  // The extensions must have DAMAGE.
  X11DamageMonitor(X11Connection& connection, const X11Extensions& extensions);
  X11DamageMonitor(const X11DamageMonitor&) = delete;
  X11DamageMonitor& operator=(const X11DamageMonitor&) = delete;
  ~X11DamageMonitor();

  void handle(const xcb_generic_event_t& event);
  [[nodiscard]] bool isPending() const { return pending; }

  // Asks what changed since it was last asked, without waiting. The server carries requests out in
  // the order in which they were sent: what is drawn before this one is named by its answer, and
  // what is drawn later by the next.
  void ask();
  // The answer, as far as it lies within this area of the root window, in coordinates relative to
  // it. Waits for it; empty if nothing was asked.
  [[nodiscard]] ScreenChanges answer(const PixelRect& area);
  // Both at once. Pixels fetched after it are at least as new as the changes it names.
  [[nodiscard]] ScreenChanges take(const PixelRect& area) {
    ask();
    return answer(area);
  }

 private:
  void discardAnswer();

  X11Connection& connection;
  X11Extensions::Events events;
  xcb_damage_damage_t damage;
  xcb_xfixes_region_t parts;
  std::optional<xcb_xfixes_fetch_region_cookie_t> asked;
  std::uint32_t takenAt = 0;  // number of the request that took the last changes
  bool pending = false;
};

}  // namespace quorvin
