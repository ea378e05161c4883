#include "platform/linux/capture/PixelScaler.h"

#include <libyuv/scale_argb.h>

#include <algorithm>

#include "platform/linux/capture/PixelMemory.h"

namespace quorvin {

namespace {

// How far, in pixels of the picture, a source pixel reaches beyond its own place: one for the
// interpolation, one for the odd row or column that halving leaves out.
constexpr int reachPx = 2;

PixelSize halfOf(PixelSize size) {
  return {size.width / 2, size.height / 2};
}

PixelImage allocateImage(PixelSize size) {
  PixelImage image;
  image.size = size;
  image.memory = allocatePixelMemory(image.offsetBytes(0, size.height));
  return image;
}

int roundedDown(std::int64_t value, int from, int to) {
  return static_cast<int>(value * to / from);
}

int roundedUp(std::int64_t value, int from, int to) {
  return static_cast<int>((value * to + from - 1) / from);
}

struct Rows {
  int top = 0;
  int bottom = 0;
};

// Draws these rows of the half-sized image; always full ones, since libyuv rounds differently at
// the end of a row.
void halve(const PixelImage& full, const Rows& rows, PixelImage& half) {
  const int count = rows.bottom - rows.top;
  libyuv::ARGBScale(full.at(0, rows.top * 2), static_cast<int>(full.strideBytes()),
                    half.size.width * 2, count * 2, half.at(0, rows.top),
                    static_cast<int>(half.strideBytes()), half.size.width, count,
                    libyuv::kFilterBox);
}

}  // namespace

PixelScaler::PixelScaler(PixelSize source, PixelSize picture)
    : sourceSize(source), pictureSize(picture) {
  PixelSize half = halfOf(source);
  for (; half.width >= picture.width && half.height >= picture.height; half = halfOf(half)) {
    halved.push_back(allocateImage(half));
  }
}

PixelRegion PixelScaler::sourceChanged(const PixelImage& source, const PixelRegion& region) {
  PixelRegion altered;
  for (const PixelRect& rect : region.rects()) {
    const PixelImage* full = &source;
    Rows rows{rect.y, rect.bottom()};
    for (PixelImage& half : halved) {
      rows = {rows.top / 2, std::min((rows.bottom + 1) / 2, half.size.height)};
      if (rows.top < rows.bottom) halve(*full, rows, half);
      full = &half;
    }
    altered.add(pictureArea(rect));
  }
  return altered;
}

void PixelScaler::draw(const PixelImage& source, const PixelRegion& region,
                       PixelImage& picture) const {
  const PixelImage& from = lastStep(source);
  for (const PixelRect& rect : region.rects()) {
    const PixelRect visible = intersectionOf(rect, wholeOf(pictureSize));
    if (visible.isEmpty()) continue;
    const int top = canDrawRows() ? visible.y : 0;
    const int rows = canDrawRows() ? visible.height : pictureSize.height;
    libyuv::ARGBScaleClip(
        from.memory.get(), static_cast<int>(from.strideBytes()), from.size.width, from.size.height,
        picture.memory.get(), static_cast<int>(picture.strideBytes()), pictureSize.width,
        pictureSize.height, 0, top, pictureSize.width, rows, libyuv::kFilterBilinear);
  }
}

PixelRect PixelScaler::pictureArea(const PixelRect& sourceArea) const {
  if (sourceSize == pictureSize) return sourceArea;
  const int left = roundedDown(sourceArea.x, sourceSize.width, pictureSize.width) - reachPx;
  const int top = roundedDown(sourceArea.y, sourceSize.height, pictureSize.height) - reachPx;
  const int right = roundedUp(sourceArea.right(), sourceSize.width, pictureSize.width) + reachPx;
  const int bottom =
      roundedUp(sourceArea.bottom(), sourceSize.height, pictureSize.height) + reachPx;
  return intersectionOf({left, top, right - left, bottom - top}, wholeOf(pictureSize));
}

const PixelImage& PixelScaler::lastStep(const PixelImage& source) const {
  return halved.empty() ? source : halved.back();
}

bool PixelScaler::canDrawRows() const {
  // While enlarging, libyuv reads ahead of the row it draws and finds the image's end only when it
  // has begun at the first row.
  return sourceSize.width >= pictureSize.width && sourceSize.height >= pictureSize.height;
}

}  // namespace quorvin
