#include "platform/linux/jpeg/CodedRect.h"

#include <new>
#include <span>

#include "platform/linux/frame/PixelImage.h"
#include "platform/linux/jpeg/JpegCompression.h"
#include "platform/linux/jpeg/JpegFile.h"

namespace quorvin {

bool CodedRect::code(const CapturedFrame& frame, const JpegParams& params,
                     const SegmentRect& rect) {
  try {
    offsets.assign(static_cast<std::size_t>(rect.count()) + 1, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  const RowRange rows = pixelRowsOf(rect.mcuRows, params.heightPx);
  const ColumnRange columns = pixelColumnsOf(rect.first, rect.end, params.widthPx);
  const JpegParams part{columns.end - columns.first, rows.end - rows.first, params.quality};
  const auto offset = static_cast<std::size_t>(rows.first) * frame.strideBytes() +
                      static_cast<std::size_t>(columns.first) * bytesPerPixel;
  coded = rect;
  return writeJpeg(part, segmentMcus(params.widthPx), frame.data() + offset, frame.strideBytes(),
                   bytes) &&
         findOffsets();
}

bool CodedRect::findOffsets() {
  const std::size_t begin = findCodedData(bytes.written());
  if (begin == 0 || !findEnds(bytes.written().subspan(begin), std::span(offsets).subspan(1))) {
    return false;
  }
  for (std::size_t& offset : offsets) offset += begin;
  return true;
}

Segments CodedRect::row(int number) const {
  const auto across = static_cast<std::size_t>(coded.across());
  return {bytes.written().data(),
          std::span(offsets).subspan(static_cast<std::size_t>(number) * across, across + 1)};
}

}  // namespace quorvin
