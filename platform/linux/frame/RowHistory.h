#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace quorvin {

// The rows from `first` to `end` - 1.
struct RowRange {
  int first = 0;
  int end = 0;

  friend bool operator==(const RowRange&, const RowRange&) = default;
};

// The columns from `first` to `end` - 1.
struct ColumnRange {
  int first = 0;
  int end = 0;

  friend bool operator==(const ColumnRange&, const ColumnRange&) = default;
};

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

}  // namespace quorvin
