#include "platform/linux/capture/RowTracker.h"

#include <algorithm>

namespace quorvin {

void RowTracker::restart(int rows) {
  series = std::make_shared<char>();
  number = 0;
  changedBy.assign(static_cast<std::size_t>(rows), 1);
}

void RowTracker::markChanged(RowRange rows) {
  const int first = std::max(rows.first, 0);
  const int end = std::min(rows.end, static_cast<int>(changedBy.size()));
  if (first >= end) return;
  std::fill(changedBy.begin() + first, changedBy.begin() + end, number + 1);
}

std::shared_ptr<const RowHistory> RowTracker::nextPicture() {
  return std::make_shared<const RowHistory>(series, ++number, changedBy);
}

}  // namespace quorvin
