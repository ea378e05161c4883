#include "platform/linux/frame/RowHistory.h"

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
  return (lengthPx + ChangeNumbers::tileSidePx - 1) / ChangeNumbers::tileSidePx;
}

}  // namespace

bool RowHistory::changedSince(const RowHistory& earlier, RowRange rows) const {
  if (!canCompareWith(earlier)) return true;
  return isAnyAbove(earlier.number, changedBy.rows, static_cast<std::size_t>(rows.first),
                    static_cast<std::size_t>(rows.end));
}

bool RowHistory::changedSince(const RowHistory& earlier, RowRange rows, ColumnRange columns) const {
  if (!changedSince(earlier, rows)) return false;
  return !canCompareWith(earlier) || tilesChangedSince(earlier, rows, columns);
}

bool RowHistory::canCompareWith(const RowHistory& earlier) const {
  return earlier.series == series && earlier.number <= number;
}

bool RowHistory::tilesChangedSince(const RowHistory& earlier, RowRange rows,
                                   ColumnRange columns) const {
  const int left = columns.first / ChangeNumbers::tileSidePx;
  const int right = (columns.end - 1) / ChangeNumbers::tileSidePx;
  const int top = rows.first / ChangeNumbers::tileSidePx;
  const int bottom = (rows.end - 1) / ChangeNumbers::tileSidePx;
  for (int row = top; row <= bottom; ++row) {
    const std::size_t start = static_cast<std::size_t>(row) * changedBy.tilesAcross;
    if (isAnyAbove(earlier.number, changedBy.tiles, start + static_cast<std::size_t>(left),
                   start + static_cast<std::size_t>(right) + 1)) {
      return true;
    }
  }
  return false;
}

void RowTracker::restart(PixelSize newPicture) {
  picture = newPicture;
  series = std::make_shared<char>();
  number = 0;
  changedBy.rows.assign(static_cast<std::size_t>(picture.height), 1);
  changedBy.tilesAcross = static_cast<std::size_t>(tilesOver(picture.width));
  const int tilesDown = tilesOver(picture.height);
  changedBy.tiles.assign(changedBy.tilesAcross * static_cast<std::size_t>(tilesDown), 1);
}

void RowTracker::markChanged(const PixelRect& area) {
  const PixelRect inside = intersectionOf(area, wholeOf(picture));
  if (inside.isEmpty()) return;
  std::fill(changedBy.rows.begin() + inside.y, changedBy.rows.begin() + inside.bottom(),
            number + 1);
  const int left = inside.x / ChangeNumbers::tileSidePx;
  const int end = tilesOver(inside.right());
  for (int row = inside.y / ChangeNumbers::tileSidePx; row < tilesOver(inside.bottom()); ++row) {
    const auto start =
        changedBy.tiles.begin() + static_cast<std::ptrdiff_t>(changedBy.tilesAcross) * row;
    std::fill(start + left, start + end, number + 1);
  }
}

std::shared_ptr<const RowHistory> RowTracker::nextPicture() {
  return std::make_shared<const RowHistory>(series, ++number, changedBy);
}

}  // namespace quorvin
