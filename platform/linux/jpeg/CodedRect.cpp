#include "platform/linux/jpeg/CodedRun.h"

#include <new>
#include <span>

#include "platform/linux/jpeg/JpegCompression.h"
#include "platform/linux/jpeg/RestartMarkers.h"

namespace quorvin {

bool CodedRun::code(const CapturedPixelBuffer& picture, const JpegForm& form, RowRange mcuRows) {
  try {
    bounds.assign(static_cast<std::size_t>(mcuRows.end - mcuRows.first) + 1, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  const std::span ends = std::span(bounds).subspan(1);
  const RowRange pixels = pixelRowsOf(mcuRows, form.heightPx);
  const JpegForm part{form.widthPx, pixels.end - pixels.first, form.quality};
  const auto offset = static_cast<std::size_t>(pixels.first) * picture.strideBytes();
  coded = mcuRows;
  return codeMcuRows(part, picture.data() + offset, picture.strideBytes(), bytes, ends) &&
         findEnds(bytes.written(), ends);
}

}  // namespace quorvin
