#include "platform/linux/jpeg/SegmentPlan.h"

#include <algorithm>
#include <numeric>

namespace quorvin {

namespace {

// The changed segments of one MCU row, as rectangles of its height.
std::vector<SegmentRect> changedInRow(const DamageHistory& frame, const DamageHistory& earlier,
                                      const JpegParams& params, int row) {
  std::vector<SegmentRect> rects;
  const RowRange mcuRows{row, row + 1};
  const RowRange pixels = pixelRowsOf(mcuRows, params.heightPx);
  if (!frame.changedSince(earlier, pixels)) return rects;
  for (int i = 0; i < segmentsAcross(params.widthPx); ++i) {
    if (!frame.changedSince(earlier, pixels, pixelColumnsOf(i, i + 1, params.widthPx))) continue;
    if (rects.empty() || rects.back().end != i) rects.push_back({mcuRows, i, i});
    rects.back().end = i + 1;
  }
  return rects;
}

// Adds what is below one of the rectangles to it.
void addRow(std::vector<SegmentRect>& rects, const std::vector<SegmentRect>& row) {
  const std::size_t above = rects.size();
  for (const auto& added : row) {
    const auto end = rects.begin() + static_cast<std::ptrdiff_t>(above);
    const auto same = std::find_if(rects.begin(), end, [&added](const SegmentRect& rect) {
      return rect.mcuRows.end == added.mcuRows.first && rect.first == added.first &&
             rect.end == added.end;
    });
    if (same != end) {
      same->mcuRows.end = added.mcuRows.end;
    } else {
      rects.push_back(added);
    }
  }
}

}  // namespace

std::vector<SegmentRect> changedSegments(const DamageHistory& frame, const DamageHistory& earlier,
                                         const JpegParams& params) {
  std::vector<SegmentRect> rects;
  for (int row = 0; row < mcuRowsOf(params.heightPx); ++row) {
    addRow(rects, changedInRow(frame, earlier, params, row));
  }
  return rects;
}

SegmentRect allSegments(const JpegParams& params) {
  return {{0, mcuRowsOf(params.heightPx)}, 0, segmentsAcross(params.widthPx)};
}

int countSegments(const std::vector<SegmentRect>& rects) {
  return std::accumulate(rects.begin(), rects.end(), 0,
                         [](int sum, const SegmentRect& rect) { return sum + rect.count(); });
}

std::vector<SegmentRect> cutRects(const std::vector<SegmentRect>& rects, int most) {
  std::vector<SegmentRect> pieces;
  for (const auto& rect : rects) {
    const int rows = rect.down();
    const int count = std::min(rows, (rect.count() + most - 1) / most);
    for (int i = 0; i < count; ++i) {
      const int top = rect.mcuRows.first;
      pieces.push_back(
          {{top + rows * i / count, top + rows * (i + 1) / count}, rect.first, rect.end});
    }
  }
  return pieces;
}

}  // namespace quorvin
