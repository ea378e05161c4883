#include "tests/linux/capture/ScreenPainter.h"

#include <xcb/xcbext.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace quorvin {

namespace {

xcb_rectangle_t rectangleOf(const PixelRect& area) {
  return {static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
          static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height)};
}

// Eight bits of a colour, spread over sixteen as cursors want them.
std::uint16_t component(std::uint32_t colour, int shift) {
  return static_cast<std::uint16_t>(((colour >> shift) & 0xff) * 0x101);
}

}  // namespace

ScreenPainter::ScreenPainter(const std::string& server)
    : connection(server), context(xcb_generate_id(connection.get())) {
  // Nobody here wants to hear of what could not be copied.
  const std::array<std::uint32_t, 2> values{XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
  xcb_create_gc(connection.get(), context, connection.root(),
                XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values.data());
  sync();
}

void ScreenPainter::fill(const PixelRect& area, std::uint32_t pixel) {
  xcb_change_gc(connection.get(), context, XCB_GC_FOREGROUND, &pixel);
  const xcb_rectangle_t rectangle = rectangleOf(area);
  xcb_poly_fill_rectangle(connection.get(), connection.root(), context, 1, &rectangle);
  sync();
}

void ScreenPainter::draw(const PixelRect& area, const std::vector<std::uint32_t>& pixels) {
  const xcb_rectangle_t target = rectangleOf(area);
  xcb_put_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection.root(), context,
                target.width, target.height, target.x, target.y, 0, connection.screen().root_depth,
                static_cast<std::uint32_t>(pixels.size() * sizeof(std::uint32_t)),
                reinterpret_cast<const std::uint8_t*>(pixels.data()));
  sync();
}

void ScreenPainter::copy(const PixelRect& from, int x, int y) {
  const xcb_rectangle_t source = rectangleOf(from);
  xcb_copy_area(connection.get(), connection.root(), connection.root(), context, source.x, source.y,
                static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), source.width,
                source.height);
  sync();
}

std::vector<std::uint32_t> ScreenPainter::read(const PixelRect& area) {
  const xcb_rectangle_t source = rectangleOf(area);
  const auto image =
      x11Reply(xcb_get_image_reply, connection.get(),
               xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection.root(),
                             source.x, source.y, source.width, source.height, ~0U));
  if (!image) return {};
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(area.area()));
  std::memcpy(pixels.data(), xcb_get_image_data(image.get()),
              std::min(pixels.size() * sizeof(std::uint32_t),
                       static_cast<std::size_t>(xcb_get_image_data_length(image.get()))));
  return pixels;
}

void ScreenPainter::movePointer(int x, int y) {
  xcb_test_fake_input(connection.get(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, connection.root(),
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
  sync();
}

void ScreenPainter::warpPointer(int x, int y) {
  xcb_warp_pointer(connection.get(), XCB_NONE, connection.root(), 0, 0, 0, 0,
                   static_cast<std::int16_t>(x), static_cast<std::int16_t>(y));
  sync();
}

void ScreenPainter::setCursor(int side, std::uint32_t colour, int hotSpot) {
  const xcb_pixmap_t shape = xcb_generate_id(connection.get());
  const auto length = static_cast<std::uint16_t>(side);
  xcb_create_pixmap(connection.get(), 1, shape, connection.root(), length, length);
  const xcb_gcontext_t ones = xcb_generate_id(connection.get());
  const std::uint32_t one = 1;
  xcb_create_gc(connection.get(), ones, shape, XCB_GC_FOREGROUND, &one);
  const xcb_rectangle_t all{0, 0, length, length};
  xcb_poly_fill_rectangle(connection.get(), shape, ones, 1, &all);
  const xcb_cursor_t cursor = xcb_generate_id(connection.get());
  xcb_create_cursor(connection.get(), cursor, shape, shape, component(colour, 16),
                    component(colour, 8), component(colour, 0), 0, 0, 0,
                    static_cast<std::uint16_t>(hotSpot), static_cast<std::uint16_t>(hotSpot));
  xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_CURSOR, &cursor);
  xcb_free_cursor(connection.get(), cursor);
  xcb_free_gc(connection.get(), ones);
  xcb_free_pixmap(connection.get(), shape);
  sync();
}

void ScreenPainter::defineMonitor(const std::string& name, const PixelRect& area, bool isPrimary) {
  xcb_randr_monitor_info_t monitor{};
  monitor.name = atom(name);
  monitor.primary = isPrimary ? 1 : 0;
  monitor.x = static_cast<std::int16_t>(area.x);
  monitor.y = static_cast<std::int16_t>(area.y);
  monitor.width = static_cast<std::uint16_t>(area.width);
  monitor.height = static_cast<std::uint16_t>(area.height);
  sendSetMonitor(monitor);
  sync();
}

// libxcb 1.15 miscounts the length of a monitor without outputs in its own function for this
// (https://gitlab.freedesktop.org/xorg/proto/xorgproto, randrproto.txt, RRSetMonitor).
void ScreenPainter::sendSetMonitor(xcb_randr_monitor_info_t& monitor) {
  xcb_randr_set_monitor_request_t request{};
  request.window = connection.root();
  std::array<iovec, 4> parts{};  // libxcb wants two spare ones in front
  parts[2] = {&request, sizeof request};
  parts[3] = {&monitor, sizeof monitor};
  const xcb_protocol_request_t protocol{2, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
  xcb_send_request(connection.get(), 0, &parts[2], &protocol);
}

void ScreenPainter::deleteMonitor(const std::string& name) {
  xcb_randr_delete_monitor(connection.get(), connection.root(), atom(name));
  sync();
}

PixelSize ScreenPainter::screenSize() const {
  return {connection.screen().width_in_pixels, connection.screen().height_in_pixels};
}

xcb_atom_t ScreenPainter::atom(const std::string& name) {
  const auto reply = x11Reply(
      xcb_intern_atom_reply, connection.get(),
      xcb_intern_atom(connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str()));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void ScreenPainter::sync() {
  const auto reply =
      x11Reply(xcb_get_input_focus_reply, connection.get(), xcb_get_input_focus(connection.get()));
}

}  // namespace quorvin
