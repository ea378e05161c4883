#include "platform/linux/capture/X11DamageMonitor.h"

#include <span>

namespace quorvin {

X11DamageMonitor::X11DamageMonitor(X11Connection& connection, const X11Extensions& extensions,
                                   DamageReport report)
    : connection(connection),
      events(extensions.damage.value()),
      report(report),
      damage(xcb_generate_id(connection.get())),
      parts(xcb_generate_id(connection.get())) {
  xcb_damage_create(connection.get(), damage, connection.root(),
                    report == DamageReport::bounds ? XCB_DAMAGE_REPORT_LEVEL_BOUNDING_BOX
                                                   : XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  xcb_xfixes_create_region(connection.get(), parts, 0, nullptr);
  // A new monitor holds the whole window to have changed.
  takenAt = xcb_damage_subtract(connection.get(), damage, XCB_NONE, XCB_NONE).sequence;
}

X11DamageMonitor::~X11DamageMonitor() {
  for (const auto& cookie : cookies) xcb_discard_reply(connection.get(), cookie.sequence);
  xcb_damage_destroy(connection.get(), damage);
  xcb_xfixes_destroy_region(connection.get(), parts);
}

void X11DamageMonitor::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != events.first + XCB_DAMAGE_NOTIFY) return;
  // An event that was on its way while the changes were taken tells of nothing new. The numbers
  // wrap around.
  if (static_cast<std::int32_t>(event.full_sequence - takenAt) < 0) return;
  const auto& area = reinterpret_cast<const xcb_damage_notify_event_t&>(event).area;
  // Taking the pointer off the screen is reported, but changes nothing that is captured.
  if (area.width == 0 || area.height == 0) return;
  pending = true;
  if (report == DamageReport::bounds) {
    reported = boundsOf(reported, {area.x, area.y, area.width, area.height});
  }
}

void X11DamageMonitor::request() {
  pending = false;
  reported = {};
  takenAt = xcb_damage_subtract(connection.get(), damage, XCB_NONE, parts).sequence;
  cookies.push_back(xcb_xfixes_fetch_region(connection.get(), parts));
}

Damage X11DamageMonitor::waitForReply(const PixelRect& area) {
  Damage changes;
  if (cookies.empty()) return changes;
  const auto reply = x11Reply(xcb_xfixes_fetch_region_reply, connection.get(), cookies.front());
  cookies.pop_front();
  // What the server forgot to tell could be anything.
  if (!reply) return Damage(wholeOf(area.size()));
  const std::span rects(
      xcb_xfixes_fetch_region_rectangles(reply.get()),
      static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(reply.get())));
  for (const auto& rect : rects) {
    const PixelRect changed{rect.x, rect.y, rect.width, rect.height};
    changes.add(intersectionOf(changed, area).movedBy(-area.x, -area.y));
  }
  return changes;
}

}  // namespace quorvin
