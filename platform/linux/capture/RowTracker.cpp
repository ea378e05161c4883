#include "platform/linux/capture/RowTracker.h"

#include <algorithm>

namespace quorvin {

namespace {

// How many tiles reach over so many pixels.
int tilesOver(int lengthPx) {
  return (lengthPx + ChangeNumbers::tileSidePx - 1) / ChangeNumbers::tileSidePx;
}

}  // namespace

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
