#include "bench/ScreenFrames.h"

#include <algorithm>

namespace quorvin {

namespace {

constexpr std::uint8_t depth = 24;
constexpr int rowsPerRequest = 100;  // what fits into one, also of a wide screen

std::uint16_t length(int px) {
  return static_cast<std::uint16_t>(px);
}
std::int16_t place(int px) {
  return static_cast<std::int16_t>(px);
}

}  // namespace

ScreenFrames::ScreenFrames(const std::string& server, const PixelRect& area,
                           const std::vector<std::vector<std::uint32_t>>& frames)
    : connection(server), area(area), context(xcb_generate_id(connection.get())) {
  const std::uint32_t includeInferiors = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
  xcb_create_gc(connection.get(), context, connection.root(), XCB_GC_SUBWINDOW_MODE,
                &includeInferiors);
  for (const auto& pixels : frames) pixmaps.push_back(makePixmap(pixels));
}

void ScreenFrames::show(std::size_t index) {
  shown = index;
  xcb_copy_area(connection.get(), pixmaps.at(index), connection.root(), context, 0, 0,
                place(area.x), place(area.y), length(area.width), length(area.height));
  const auto done =
      x11Reply(xcb_get_input_focus_reply, connection.get(), xcb_get_input_focus(connection.get()));
}

xcb_pixmap_t ScreenFrames::makePixmap(const std::vector<std::uint32_t>& pixels) {
  const xcb_pixmap_t pixmap = xcb_generate_id(connection.get());
  xcb_create_pixmap(connection.get(), depth, pixmap, connection.root(), length(area.width),
                    length(area.height));
  for (int y = 0; y < area.height; y += rowsPerRequest) {
    const int rows = std::min(rowsPerRequest, area.height - y);
    const auto offset = static_cast<std::size_t>(y) * static_cast<std::size_t>(area.width);
    xcb_put_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, length(area.width),
                  length(rows), 0, place(y), 0, depth,
                  static_cast<std::uint32_t>(rows * area.width * 4),
                  reinterpret_cast<const std::uint8_t*>(&pixels.at(offset)));
  }
  return pixmap;
}

}  // namespace quorvin
