#include "platform/linux/x11/X11PixelFormat.h"

#include <libyuv/convert_argb.h>
#include <libyuv/planar_functions.h>

#include <bit>
#include <optional>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

namespace {

const xcb_visualtype_t* findVisual(const xcb_screen_t& screen, xcb_visualid_t id) {
  auto depths = xcb_screen_allowed_depths_iterator(&screen);
  for (; depths.rem > 0; xcb_depth_next(&depths)) {
    auto visuals = xcb_depth_visuals_iterator(depths.data);
    for (; visuals.rem > 0; xcb_visualtype_next(&visuals)) {
      if (visuals.data->visual_id == id) return visuals.data;
    }
  }
  return nullptr;
}

// Zero when the server has no format of that depth.
int bitsPerPixel(const xcb_setup_t& setup, int depth) {
  auto formats = xcb_setup_pixmap_formats_iterator(&setup);
  for (; formats.rem > 0; xcb_format_next(&formats)) {
    if (formats.data->depth == depth) return formats.data->bits_per_pixel;
  }
  return 0;
}

bool hasNativeByteOrder(const xcb_setup_t& setup) {
  return std::endian::native == std::endian::little &&
         setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
}

bool hasMasks(const xcb_visualtype_t& visual, std::uint32_t red, std::uint32_t green,
              std::uint32_t blue) {
  return visual.red_mask == red && visual.green_mask == green && visual.blue_mask == blue;
}

std::optional<X11PixelFormat> formatOf(int depth, const xcb_visualtype_t& visual) {
  if (depth == 24 && hasMasks(visual, 0xff0000, 0xff00, 0xff)) return X11PixelFormat::x8r8g8b8;
  if (depth == 30 && hasMasks(visual, 0x3ff00000, 0xffc00, 0x3ff)) {
    return X11PixelFormat::x2r10g10b10;
  }
  if (depth == 30 && hasMasks(visual, 0x3ff, 0xffc00, 0x3ff00000)) {
    return X11PixelFormat::x2b10g10r10;
  }
  return {};
}

}  // namespace

X11PixelFormat rootPixelFormat(X11Connection& connection) {
  const xcb_setup_t& setup = *xcb_get_setup(connection.get());
  const xcb_screen_t& screen = connection.screen();
  const auto* visual = findVisual(screen, screen.root_visual);
  std::optional<X11PixelFormat> format;
  if (visual != nullptr && hasNativeByteOrder(setup) &&
      bitsPerPixel(setup, screen.root_depth) == 32) {
    format = formatOf(screen.root_depth, *visual);
  }
  if (!format) {
    throw x11Error(X11ErrorCode::unsupportedScreen,
                   "The screen cannot be captured: its pixels have a depth of " +
                       std::to_string(screen.root_depth) +
                       " bits or an order of colours that is not supported. Use a "
                       "screen of depth 24 or 30.");
  }
  return *format;
}

void convertPixels(X11PixelFormat format, const std::uint8_t* source, std::size_t sourceStride,
                   std::uint8_t* target, std::size_t targetStride, int width, int height) {
  const int from = static_cast<int>(sourceStride);
  const int to = static_cast<int>(targetStride);
  switch (format) {
    case X11PixelFormat::x8r8g8b8:
      libyuv::ARGBCopy(source, from, target, to, width, height);
      break;
    case X11PixelFormat::x2r10g10b10:
      libyuv::AR30ToARGB(source, from, target, to, width, height);
      break;
    case X11PixelFormat::x2b10g10r10:
      libyuv::AB30ToARGB(source, from, target, to, width, height);
      break;
  }
}

}  // namespace quorvin
