#include "platform/linux/capture/RowHistory.h"

#include <algorithm>

namespace quorvin {

bool RowHistory::changedSince(const RowHistory& earlier, RowRange rows) const {
  if (earlier.series != series || earlier.number > number) return true;
  return std::any_of(changedBy.begin() + rows.first, changedBy.begin() + rows.end,
                     [&earlier](std::uint64_t by) { return by > earlier.number; });
}

}  // namespace quorvin
