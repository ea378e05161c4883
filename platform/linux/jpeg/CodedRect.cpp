#include "platform/linux/jpeg/CodedRect.h"

#include <new>
#include <span>

#include "platform/linux/frame/PixelImage.h"
#include "platform/linux/jpeg/JpegCompression.h"
#include "platform/linux/jpeg/JpegFile.h"

namespace quorvin {

bool CodedRect::code(const CapturedPixelBuffer& picture, const JpegForm& form,
                     const SegmentRect& rect) {
  try {
    bounds.assign(static_cast<std::size_t>(rect.count()) + 1, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  const RowRange rows = pixelRowsOf(rect.mcuRows, form.heightPx);
  const ColumnRange columns = pixelColumnsOf(rect.first, rect.end, form.widthPx);
  const JpegForm part{columns.end - columns.first, rows.end - rows.first, form.quality};
  const auto offset = static_cast<std::size_t>(rows.first) * picture.strideBytes() +
                      static_cast<std::size_t>(columns.first) * bytesPerPixel;
  coded = rect;
  return writeJpeg(part, segmentMcus(form.widthPx), picture.data() + offset, picture.strideBytes(),
                   bytes) &&
         findBounds();
}

bool CodedRect::findBounds() {
  const std::size_t begin = findCodedData(bytes.written());
  if (begin == 0 || !findEnds(bytes.written().subspan(begin), std::span(bounds).subspan(1))) {
    return false;
  }
  for (std::size_t& bound : bounds) bound += begin;
  return true;
}

Segments CodedRect::row(int number) const {
  const auto across = static_cast<std::size_t>(coded.across());
  return {bytes.written().data(),
          std::span(bounds).subspan(static_cast<std::size_t>(number) * across, across + 1)};
}

}  // namespace quorvin
