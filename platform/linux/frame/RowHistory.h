#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// The number of the picture that changed something last, counted from 1: exactly for each row, and
// for each tile to tell roughly where in its rows.
struct ChangeNumbers {
  static constexpr int tileSidePx = 16;

  std::vector<std::uint64_t> rows;
  std::vector<std::uint64_t> tiles;  // row by row from the top, each from the left
  std::size_t tilesAcross = 0;
};

// When each row of one picture of a stream last changed, counted in the stream's pictures, and
// where in it. With it a picture can be compared with any earlier one of its series, also when
// pictures in between were never looked at. Unchanging; any thread.
class RowHistory {
 public:
  // All pictures of a series have the same `series` object, which tells it from other series.
  RowHistory(std::shared_ptr<const void> series, std::uint64_t number, ChangeNumbers changedBy)
      : series(std::move(series)), number(number), changedBy(std::move(changedBy)) {}

  // Whether one of these rows may look different in `earlier`. Of pictures that are not of one
  // series, or in the wrong order, nothing is known, so that every row may.
  [[nodiscard]] bool changedSince(const RowHistory& earlier, RowRange rows) const;
  // Whether one of these rows may, within these columns or close to them.
  [[nodiscard]] bool changedSince(const RowHistory& earlier, RowRange rows,
                                  ColumnRange columns) const;

 private:
  [[nodiscard]] bool canCompareWith(const RowHistory& earlier) const;
  [[nodiscard]] bool tilesChangedSince(const RowHistory& earlier, RowRange rows,
                                       ColumnRange columns) const;

  std::shared_ptr<const void> series;
  std::uint64_t number;
  ChangeNumbers changedBy;
};

// Keeps the history of the rows of a stream's pictures while they are made. One thread at a time.
class RowTracker {
 public:
  // Begins a new series of pictures of that size; nothing is known of how they compare with those
  // before.
  void restart(PixelSize newPicture);
  // The next picture differs from the last one in these pixels; what lies outside of it is left
  // out.
  void markChanged(const PixelRect& area);
  void markChanged(RowRange rows) {
    markChanged({0, rows.first, picture.width, rows.end - rows.first});
  }
  // The history of the next picture, which is made from now on. Only after `restart`.
  [[nodiscard]] std::shared_ptr<const RowHistory> nextPicture();

 private:
  PixelSize picture;
  std::shared_ptr<const void> series;
  std::uint64_t number = 0;  // of the last picture
  ChangeNumbers changedBy;
};

}  // namespace quorvin
