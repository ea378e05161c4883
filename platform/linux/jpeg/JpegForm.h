#pragma once

#include <algorithm>

#include "platform/linux/capture/RowHistory.h"

namespace quorvin {

// All that decides how pixels are coded, apart from the pixels.
struct JpegForm {
  int widthPx = 0;  // 1 to 65500, which is as far as libjpeg goes
  int heightPx = 0;
  int quality = 0;  // 1 to 100

  friend bool operator==(const JpegForm&, const JpegForm&) = default;
};

// Colours have half the resolution both ways, so that the smallest piece of a file (a minimum coded
// unit, ITU-T T.81, A.2) is of 16 by 16 pixels. Units side by side make an MCU row.
inline constexpr int mcuSidePx = 16;

[[nodiscard]] constexpr int mcuRowsOf(int heightPx) {
  return (heightPx + mcuSidePx - 1) / mcuSidePx;
}

// The last MCU row of a picture may reach beyond it.
[[nodiscard]] constexpr RowRange pixelRowsOf(RowRange mcuRows, int heightPx) {
  return {mcuRows.first * mcuSidePx, std::min(mcuRows.end * mcuSidePx, heightPx)};
}

}  // namespace quorvin
