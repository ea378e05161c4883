#include "platform/linux/frame/DamageHistory.h"

#include <algorithm>

namespace quorvin {

namespace {

bool isAnyAbove(std::uint64_t number, const std::vector<std::uint64_t>& numbers, std::size_t first,
                std::size_t end) {
  const auto begin = numbers.begin();
  return std::any_of(begin + static_cast<std::ptrdiff_t>(first),
                     begin + static_cast<std::ptrdiff_t>(end),
                     [number](std::uint64_t by) { return by > number; });
}

// How many tiles reach over so many pixels.
int tilesOver(int lengthPx) {
  return (lengthPx + LastDamage::tileSidePx - 1) / LastDamage::tileSidePx;
}

}  // namespace

bool DamageHistory::changedSince(const DamageHistory& earlier, RowRange rows) const {
  if (!canCompareWith(earlier)) return true;
  return isAnyAbove(earlier.number, changedBy.rows, static_cast<std::size_t>(rows.first),
                    static_cast<std::size_t>(rows.end));
}

bool DamageHistory::changedSince(const DamageHistory& earlier, RowRange rows,
                                 ColumnRange columns) const {
  if (!changedSince(earlier, rows)) return false;
  return !canCompareWith(earlier) || tilesChangedSince(earlier, rows, columns);
}

bool DamageHistory::canCompareWith(const DamageHistory& earlier) const {
  return earlier.series == series && earlier.number <= number;
}

bool DamageHistory::tilesChangedSince(const DamageHistory& earlier, RowRange rows,
                                      ColumnRange columns) const {
  const int left = columns.first / LastDamage::tileSidePx;
  const int right = (columns.end - 1) / LastDamage::tileSidePx;
  const int top = rows.first / LastDamage::tileSidePx;
  const int bottom = (rows.end - 1) / LastDamage::tileSidePx;
  for (int row = top; row <= bottom; ++row) {
    const std::size_t start = static_cast<std::size_t>(row) * changedBy.tilesAcross;
    if (isAnyAbove(earlier.number, changedBy.tiles, start + static_cast<std::size_t>(left),
                   start + static_cast<std::size_t>(right) + 1)) {
      return true;
    }
  }
  return false;
}

void DamageTracker::restart(PixelSize newFrameSize) {
  frameSize = newFrameSize;
  series = std::make_shared<char>();
  number = 0;
  changedBy.rows.assign(static_cast<std::size_t>(frameSize.height), 1);
  changedBy.tilesAcross = static_cast<std::size_t>(tilesOver(frameSize.width));
  const int tilesDown = tilesOver(frameSize.height);
  changedBy.tiles.assign(changedBy.tilesAcross * static_cast<std::size_t>(tilesDown), 1);
}

void DamageTracker::markDamaged(const PixelRect& area) {
  const PixelRect inside = intersectionOf(area, wholeOf(frameSize));
  if (inside.isEmpty()) return;
  std::fill(changedBy.rows.begin() + inside.y, changedBy.rows.begin() + inside.bottom(),
            number + 1);
  const int left = inside.x / LastDamage::tileSidePx;
  const int end = tilesOver(inside.right());
  for (int row = inside.y / LastDamage::tileSidePx; row < tilesOver(inside.bottom()); ++row) {
    const auto start =
        changedBy.tiles.begin() + static_cast<std::ptrdiff_t>(changedBy.tilesAcross) * row;
    std::fill(start + left, start + end, number + 1);
  }
}

std::shared_ptr<const DamageHistory> DamageTracker::nextFrame() {
  return std::make_shared<const DamageHistory>(series, ++number, changedBy);
}

}  // namespace quorvin
