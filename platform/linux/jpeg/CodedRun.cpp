#include "platform/linux/jpeg/CodedRun.h"

#include <new>

#include "platform/linux/jpeg/JpegCompression.h"
#include "platform/linux/jpeg/RestartMarkers.h"

namespace quorvin {

bool CodedRun::code(const CapturedPixelBuffer& picture, const JpegForm& form, RowRange mcuRows) {
  const RowRange pixels = pixelRowsOf(mcuRows, form.heightPx);
  const JpegForm part{form.widthPx, pixels.end - pixels.first, form.quality};
  const auto offset = static_cast<std::size_t>(pixels.first) * picture.strideBytes();
  if (!codeMcuRows(part, picture.data() + offset, picture.strideBytes(), bytes)) return false;
  try {
    findMcuRows(bytes.written(), bounds);
  } catch (const std::bad_alloc&) {
    return false;
  }
  coded = mcuRows;
  return bounds.size() == static_cast<std::size_t>(mcuRows.end - mcuRows.first) + 1;
}

}  // namespace quorvin
