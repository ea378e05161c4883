#include "platform/linux/capture/CursorOverlay.h"

#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quorvin {

namespace {

int scaled(int length, int from, int to) {
  return static_cast<int>(std::lround(static_cast<double>(length) * to / from));
}

const std::uint8_t* bytesAt(const CursorImage& cursor, int x, int y) {
  const auto index = static_cast<std::size_t>(y) * static_cast<std::size_t>(cursor.size.width) +
                     static_cast<std::size_t>(x);
  return reinterpret_cast<const std::uint8_t*>(&cursor.pixels[index]);
}

int strideOf(const CursorImage& cursor) {
  return cursor.size.width * static_cast<int>(bytesPerPixel);
}

int scaledDown(int position, int from, int to) {
  return static_cast<int>(std::floor(static_cast<double>(position) * to / from));
}

std::size_t rowBytes(const PixelRect& area) {
  return static_cast<std::size_t>(area.width) * bytesPerPixel;
}

}  // namespace

CursorImage scaledCursor(const CursorImage& cursor, PixelSize display, PixelSize frame) {
  if (display == frame || cursor.pixels.empty()) return cursor;
  CursorImage result;
  result.size = {std::max(1, scaled(cursor.size.width, display.width, frame.width)),
                 std::max(1, scaled(cursor.size.height, display.height, frame.height))};
  result.hotSpotX = scaled(cursor.hotSpotX, display.width, frame.width);
  result.hotSpotY = scaled(cursor.hotSpotY, display.height, frame.height);
  result.pixels.resize(static_cast<std::size_t>(wholeOf(result.size).area()));
  libyuv::ARGBScale(bytesAt(cursor, 0, 0), strideOf(cursor), cursor.size.width, cursor.size.height,
                    reinterpret_cast<std::uint8_t*>(result.pixels.data()), strideOf(result),
                    result.size.width, result.size.height, libyuv::kFilterBilinear);
  return result;
}

PixelRect cursorArea(const CursorImage& cursor, int x, int y) {
  return {x - cursor.hotSpotX, y - cursor.hotSpotY, cursor.size.width, cursor.size.height};
}

void blendCursor(const CursorImage& cursor, const PixelRect& area, PixelImage& frame) {
  const PixelRect visible = intersectionOf(area, wholeOf(frame.size));
  if (visible.isEmpty()) return;
  std::uint8_t* target = frame.at(visible.x, visible.y);
  const int stride = static_cast<int>(frame.strideBytes());
  libyuv::ARGBBlend(bytesAt(cursor, visible.x - area.x, visible.y - area.y), strideOf(cursor),
                    target, stride, target, stride, visible.width, visible.height);
}

std::optional<CursorPlacement> CursorPlacer::place(const std::shared_ptr<const CursorImage>& cursor,
                                                   int x, int y) {
  if (!cursor) return {};
  if (cursor != original) {
    original = cursor;
    fitted = std::make_shared<const CursorImage>(scaledCursor(*cursor, display, frame));
  }
  const PixelRect area = cursorArea(*fitted, scaledDown(x, display.width, frame.width),
                                    scaledDown(y, display.height, frame.height));
  if (intersectionOf(area, wholeOf(frame)).isEmpty()) return {};
  return CursorPlacement{fitted, area};
}

void SaveUnder::save(const PixelImage& frame, const PixelRect& newArea) {
  area = newArea;
  pixels.resize(static_cast<std::size_t>(area.area()) * bytesPerPixel);
  std::uint8_t* saved = pixels.data();
  for (int y = area.y; y < area.bottom(); ++y, saved += rowBytes(area)) {
    std::memcpy(saved, frame.at(area.x, y), rowBytes(area));
  }
}

void SaveUnder::restore(PixelImage& frame) {
  const std::uint8_t* saved = pixels.data();
  for (int y = area.y; y < area.bottom(); ++y, saved += rowBytes(area)) {
    std::memcpy(frame.at(area.x, y), saved, rowBytes(area));
  }
  area = {};
}

}  // namespace quorvin
