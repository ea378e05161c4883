#pragma once

#include <vector>

#include "platform/linux/capture/RowHistory.h"

namespace quorvin {

// The MCU rows of a picture of that height in which a pixel may differ from the earlier picture of
// the same height, as runs from top to bottom.
[[nodiscard]] std::vector<RowRange> changedMcuRows(const RowHistory& picture,
                                                   const RowHistory& earlier, int heightPx);

[[nodiscard]] int countRows(const std::vector<RowRange>& runs);

// The same rows in the same order, with runs longer than that cut into equal pieces.
[[nodiscard]] std::vector<RowRange> cutRuns(const std::vector<RowRange>& runs, int longest);

}  // namespace quorvin
