#include "platform/linux/capture/PixelScaler.h"

#include <libyuv/scale_argb.h>

#include <algorithm>

#include "platform/linux/capture/X11ScreenReader.h"

namespace quorvin {

namespace {

PixelSize halfOf(PixelSize size) {
  return {size.width / 2, size.height / 2};
}

PixelImage allocateImage(PixelSize size) {
  PixelImage image;
  image.size = size;
  image.memory = allocatePixelMemory(image.offsetBytes(0, size.height));
  return image;
}

int roundedDown(int value, int from, int to) {
  return static_cast<int>(static_cast<std::int64_t>(value) * to / from);
}

int roundedUp(int value, int from, int to) {
  return static_cast<int>((static_cast<std::int64_t>(value) * to + from - 1) / from);
}

// The rows of the half-sized image that these rows of the full one make up. The last row of an odd
// number is left out.
RowRange halfOf(RowRange rows, int halfHeight) {
  return {rows.first / 2, std::min((rows.end + 1) / 2, halfHeight)};
}

void halve(const PixelImage& full, RowRange rows, PixelImage& half) {
  const int count = rows.end - rows.first;
  if (count <= 0) return;
  libyuv::ARGBScale(full.at(0, rows.first * 2), static_cast<int>(full.strideBytes()),
                    half.size.width * 2, count * 2, half.at(0, rows.first),
                    static_cast<int>(half.strideBytes()), half.size.width, count,
                    libyuv::kFilterBox);
}

}  // namespace

PixelScaler::PixelScaler(PixelSize source, PixelSize frame) : sourceSize(source), frameSize(frame) {
  PixelSize half = halfOf(source);
  for (; half.width >= frame.width && half.height >= frame.height; half = halfOf(half)) {
    halved.push_back(allocateImage(half));
  }
}

RowSet PixelScaler::sourceChanged(const PixelImage& source, const RowSet& rows) {
  RowSet altered;
  for (RowRange range : rows.ranges()) {
    const PixelImage* full = &source;
    for (PixelImage& half : halved) {
      range = halfOf(range, half.size.height);
      halve(*full, range, half);
      full = &half;
    }
    altered.add(frameRows(range));
  }
  return altered;
}

void PixelScaler::draw(const PixelImage& source, const RowSet& rows, PixelImage& frame) const {
  if (rows.isEmpty()) return;
  const PixelImage& from = lastStep(source);
  if (!canDrawRows()) {
    drawRows(from, {0, frameSize.height}, frame);
    return;
  }
  for (const RowRange& range : rows.ranges()) drawRows(from, range, frame);
}

void PixelScaler::drawRows(const PixelImage& from, RowRange rows, PixelImage& frame) const {
  const int first = std::max(rows.first, 0);
  const int end = std::min(rows.end, frameSize.height);
  if (first >= end) return;
  libyuv::ARGBScaleClip(from.memory.get(), static_cast<int>(from.strideBytes()), from.size.width,
                        from.size.height, frame.memory.get(), static_cast<int>(frame.strideBytes()),
                        frameSize.width, frameSize.height, 0, first, frameSize.width, end - first,
                        libyuv::kFilterBilinear);
}

// `rows` of what the last step starts from. Each row of a frame is interpolated from two rows that
// follow each other, so a row reaches less than one beyond its position. When libyuv enlarges, it
// spreads the first to the last row over the whole frame, which moves positions by up to one more.
RowRange PixelScaler::frameRows(RowRange rows) const {
  if (rows.first >= rows.end) return {};
  const int from = halved.empty() ? sourceSize.height : halved.back().size.height;
  if (from == frameSize.height) return rows;
  const int reach = from > frameSize.height ? 1 : 2;
  return {roundedDown(std::max(rows.first - reach, 0), from, frameSize.height),
          roundedUp(std::min(rows.end + reach, from), from, frameSize.height)};
}

const PixelImage& PixelScaler::lastStep(const PixelImage& source) const {
  return halved.empty() ? source : halved.back();
}

bool PixelScaler::canDrawRows() const {
  // While enlarging, libyuv reads ahead of the row it draws and finds the image's end only when it
  // has begun at the first row.
  return sourceSize.width >= frameSize.width && sourceSize.height >= frameSize.height;
}

}  // namespace quorvin
