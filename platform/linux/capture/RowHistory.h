#pragma once

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

// When each row of one picture of a stream last changed, counted in the stream's pictures. With it
// a picture can be compared with any earlier one of its series, also when pictures in between were
// never looked at. Unchanging; any thread.
class RowHistory {
 public:
  // All pictures of a series have the same `series` object, which tells it from other series.
  // `changedBy` has for each row the number of the picture that changed it last, counted from 1.
  RowHistory(std::shared_ptr<const void> series, std::uint64_t number,
             std::vector<std::uint64_t> changedBy)
      : series(std::move(series)), number(number), changedBy(std::move(changedBy)) {}

  // Whether one of these rows may look different in `earlier`. Of pictures that are not of one
  // series, or in the wrong order, nothing is known, so that every row may.
  [[nodiscard]] bool changedSince(const RowHistory& earlier, RowRange rows) const;

 private:
  std::shared_ptr<const void> series;
  std::uint64_t number;
  std::vector<std::uint64_t> changedBy;
};

}  // namespace quorvin
