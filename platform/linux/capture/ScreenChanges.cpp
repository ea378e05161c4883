#include "platform/linux/capture/ScreenChanges.h"

#include <xcb/xinput.h>

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

X11CursorMonitor::X11CursorMonitor(X11Connection& connection, const X11Extensions& extensions)
    : connection(connection), fixes(extensions.fixes), input(extensions.input) {
  select(true);
}

X11CursorMonitor::~X11CursorMonitor() {
  discardReplies();
  select(false);
}

void X11CursorMonitor::select(bool wanted) {
  if (fixes) {
    xcb_xfixes_select_cursor_input(connection.get(), connection.root(),
                                   wanted ? XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR : 0);
  }
  if (!input) return;
  // Ordinary motion events stop at the first window that wants them; raw ones reach everybody.
  const std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
  struct {
    xcb_input_event_mask_t header;
    std::uint32_t mask;
  } const selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, wanted ? mask : 0};
  xcb_input_xi_select_events(connection.get(), connection.root(), 1, &selection.header);
}

void X11CursorMonitor::handle(const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7f;
  if (fixes && type == fixes->first + XCB_XFIXES_CURSOR_NOTIFY) reshaped = true;
  if (!input || type != XCB_GE_GENERIC) return;
  const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  if (generic.extension == input->major && generic.event_type == XCB_INPUT_RAW_MOTION) {
    moved = true;
  }
}

void X11CursorMonitor::request() {
  discardReplies();
  moved = false;
  pointerCookie = xcb_query_pointer(connection.get(), connection.root());
  if (reshaped && fixes) imageCookie = xcb_xfixes_get_cursor_image(connection.get());
  reshaped = false;
}

std::optional<X11Cursor> X11CursorMonitor::current() {
  if (!pointerCookie) request();
  const auto place = x11Reply(xcb_query_pointer_reply, connection.get(), *pointerCookie);
  pointerCookie.reset();
  if (imageCookie) image = takeImage(*imageCookie);
  imageCookie.reset();
  if (!place || place->same_screen == 0) return {};
  return X11Cursor{place->root_x, place->root_y, image};
}

std::shared_ptr<const CursorImage> X11CursorMonitor::takeImage(
    xcb_xfixes_get_cursor_image_cookie_t cookie) {
  const auto reply = x11Reply(xcb_xfixes_get_cursor_image_reply, connection.get(), cookie);
  if (!reply) return {};
  auto taken = std::make_shared<CursorImage>();
  taken->size = {reply->width, reply->height};
  taken->hotSpotX = reply->xhot;
  taken->hotSpotY = reply->yhot;
  const std::uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
  taken->pixels.assign(pixels,
                       pixels + xcb_xfixes_get_cursor_image_cursor_image_length(reply.get()));
  return taken;
}

void X11CursorMonitor::discardReplies() {
  if (pointerCookie) xcb_discard_reply(connection.get(), pointerCookie->sequence);
  if (imageCookie) xcb_discard_reply(connection.get(), imageCookie->sequence);
  pointerCookie.reset();
  imageCookie.reset();
}

}  // namespace quorvin
