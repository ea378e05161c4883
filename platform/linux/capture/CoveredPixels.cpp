#include "platform/linux/capture/CoveredPixels.h"

#include <cstring>

namespace quorvin {

namespace {

std::size_t rowBytes(const PixelRect& area) {
  return static_cast<std::size_t>(area.width) * bytesPerPixel;
}

}  // namespace

void CoveredPixels::save(const PixelImage& picture, const PixelRect& newArea) {
  area = newArea;
  pixels.resize(static_cast<std::size_t>(area.area()) * bytesPerPixel);
  std::uint8_t* saved = pixels.data();
  for (int y = area.y; y < area.bottom(); ++y, saved += rowBytes(area)) {
    std::memcpy(saved, picture.at(area.x, y), rowBytes(area));
  }
}

void CoveredPixels::putBack(PixelImage& picture) {
  const std::uint8_t* saved = pixels.data();
  for (int y = area.y; y < area.bottom(); ++y, saved += rowBytes(area)) {
    std::memcpy(picture.at(area.x, y), saved, rowBytes(area));
  }
  area = {};
}

}  // namespace quorvin
