#include "platform/linux/x11/X11Monitors.h"

#include <xcb/randr.h>

#include <algorithm>
#include <utility>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

namespace {

PixelRect rootArea(X11Connection& connection) {
  const auto geometry = x11Reply(xcb_get_geometry_reply, connection.get(),
                                 xcb_get_geometry(connection.get(), connection.root()));
  if (!geometry) {
    throw x11Error(X11ErrorCode::serverLost, "The connection to the X server was lost.");
  }
  return {0, 0, geometry->width, geometry->height};
}

DisplayID identify(const xcb_randr_monitor_info_t& monitor) {
  return monitor.nOutput > 0 ? *xcb_randr_monitor_info_outputs(&monitor) : monitor.name;
}

Error displayGone() {
  return x11Error(X11ErrorCode::displayGone,
                  "The display that was being captured is no longer connected.");
}

}  // namespace

std::vector<X11Monitor> listMonitors(X11Connection& connection, const X11Extensions& extensions) {
  const PixelRect root = rootArea(connection);
  std::vector<X11Monitor> rootOnly{{connection.root(), root, true}};
  if (!extensions.randr) return rootOnly;
  const auto reply = x11Reply(xcb_randr_get_monitors_reply, connection.get(),
                              xcb_randr_get_monitors(connection.get(), connection.root(), 1));
  if (!reply) return rootOnly;

  std::vector<X11Monitor> monitors;
  auto each = xcb_randr_get_monitors_monitors_iterator(reply.get());
  for (; each.rem > 0; xcb_randr_monitor_info_next(&each)) {
    const auto& info = *each.data;
    const PixelRect area = intersectionOf({info.x, info.y, info.width, info.height}, root);
    if (!area.isEmpty()) monitors.push_back({identify(info), area, info.primary != 0});
  }
  return monitors;
}

X11MonitorWatch::X11MonitorWatch(X11Connection& connection, const X11Extensions& extensions)
    : root(connection.root()), randr(extensions.randr) {
  // A monitor that is defined or deleted by a client is announced only as a configuration of the
  // root window; RandR's own events tell of modes and outputs.
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection.get(), root, XCB_CW_EVENT_MASK, &mask);
  if (!randr) return;
  xcb_randr_select_input(connection.get(), root,
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

void X11MonitorWatch::handle(const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7f;
  const bool isRandr = randr && (type == randr->first + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                                 type == randr->first + XCB_RANDR_NOTIFY);
  if (type == XCB_CONFIGURE_NOTIFY || isRandr) changed = true;
}

bool X11MonitorWatch::takeChange() {
  return std::exchange(changed, false);
}

X11DisplayTracker::X11DisplayTracker(X11Connection& connection, const X11Extensions& extensions,
                                     DisplayID display)
    : connection(connection),
      extensions(extensions),
      display(display),
      watch(connection, extensions) {
  const auto found = find();
  if (!found) throw displayGone();
  lastArea = *found;
}

bool X11DisplayTracker::update(Time now) {
  if (!watch.takeChange() && now < deadline()) return false;
  const auto found = find();
  if (!found) {
    if (!missingSince) missingSince = now;
    if (now >= deadline()) throw displayGone();
    return false;
  }
  // After an absence the pixels are others even at the same place.
  const bool differs = missingSince.has_value() || *found != lastArea;
  missingSince.reset();
  lastArea = *found;
  return differs;
}

X11DisplayTracker::Time X11DisplayTracker::deadline() const {
  return missingSince ? *missingSince + timeout : Time::max();
}

std::optional<PixelRect> X11DisplayTracker::find() {
  const auto monitors = listMonitors(connection, extensions);
  const auto monitor = std::ranges::find(monitors, display, &X11Monitor::id);
  if (monitor == monitors.end()) return {};
  return monitor->area;
}

}  // namespace quorvin
