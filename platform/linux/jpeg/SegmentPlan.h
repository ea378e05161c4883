#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "platform/linux/frame/DamageHistory.h"

namespace quorvin {

// All that decides how pixels are coded, apart from the pixels.
struct JpegParams {
  int widthPx = 0;  // 1 to 65500, which is as far as libjpeg goes
  int heightPx = 0;
  int quality = 0;  // 1 to 100

  friend bool operator==(const JpegParams&, const JpegParams&) = default;
};

// Colours have half the resolution both ways, so that the smallest piece of a file (a minimum coded
// unit, ITU-T T.81, A.2) is of 16 by 16 pixels. Units side by side make an MCU row.
inline constexpr int mcuSidePx = 16;

[[nodiscard]] constexpr int mcuRowsOf(int heightPx) {
  return (heightPx + mcuSidePx - 1) / mcuSidePx;
}

[[nodiscard]] constexpr int mcusAcross(int widthPx) {
  return (widthPx + mcuSidePx - 1) / mcuSidePx;
}

// The pieces of a file that are decoded without any other (restart segments, E.1.4) are all of one
// length, so that a row is cut into equal ones or not at all. Each costs some four bytes and saves
// coding the rest of the row when there is a change in it.
[[nodiscard]] constexpr int segmentsAcross(int widthPx) {
  constexpr int most = 8;
  constexpr int shortestMcus = 8;
  const int mcus = mcusAcross(widthPx);
  int count = most;
  while (count > 1 && (mcus % count != 0 || mcus / count < shortestMcus)) --count;
  return count;
}

[[nodiscard]] constexpr int segmentMcus(int widthPx) {
  return mcusAcross(widthPx) / segmentsAcross(widthPx);
}

[[nodiscard]] constexpr std::size_t segmentCount(const JpegParams& params) {
  return static_cast<std::size_t>(mcuRowsOf(params.heightPx)) *
         static_cast<std::size_t>(segmentsAcross(params.widthPx));
}

// The last MCU row of a frame may reach beyond it.
[[nodiscard]] constexpr RowRange pixelRowsOf(RowRange mcuRows, int heightPx) {
  return {mcuRows.first * mcuSidePx, std::min(mcuRows.end * mcuSidePx, heightPx)};
}

// Of the segments from `first` up to `end` - 1 of an MCU row.
[[nodiscard]] constexpr ColumnRange pixelColumnsOf(int first, int end, int widthPx) {
  const int segmentPx = segmentMcus(widthPx) * mcuSidePx;
  return {first * segmentPx, std::min(end * segmentPx, widthPx)};
}

// A rectangle of segments: of each of these MCU rows those from `first` up to `end` - 1.
struct SegmentRect {
  RowRange mcuRows;
  int first = 0;
  int end = 0;

  [[nodiscard]] constexpr int across() const { return end - first; }
  [[nodiscard]] constexpr int down() const { return mcuRows.end - mcuRows.first; }
  [[nodiscard]] constexpr int count() const { return across() * down(); }

  friend bool operator==(const SegmentRect&, const SegmentRect&) = default;
};

// The segments in which a pixel of the frame may differ from the earlier one, as rectangles from
// top to bottom that have no segment in common. Both frames have these parameters.
[[nodiscard]] std::vector<SegmentRect> changedSegments(const DamageHistory& frame,
                                                       const DamageHistory& earlier,
                                                       const JpegParams& params);

[[nodiscard]] SegmentRect allSegments(const JpegParams& params);

[[nodiscard]] int countSegments(const std::vector<SegmentRect>& rects);

// The same segments, with rectangles that hold more than so many cut into pieces of whole rows of
// about the same height.
[[nodiscard]] std::vector<SegmentRect> cutRects(const std::vector<SegmentRect>& rects, int most);

}  // namespace quorvin
