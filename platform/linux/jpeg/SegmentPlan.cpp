#include "platform/linux/jpeg/RowPlan.h"

#include <numeric>

#include "platform/linux/jpeg/JpegForm.h"

namespace quorvin {

std::vector<RowRange> changedMcuRows(const RowHistory& picture, const RowHistory& earlier,
                                     int heightPx) {
  std::vector<RowRange> runs;
  const int rows = mcuRowsOf(heightPx);
  for (int row = 0; row < rows; ++row) {
    if (!picture.changedSince(earlier, pixelRowsOf({row, row + 1}, heightPx))) continue;
    if (runs.empty() || runs.back().end != row) runs.push_back({row, row});
    runs.back().end = row + 1;
  }
  return runs;
}

int countRows(const std::vector<RowRange>& runs) {
  return std::accumulate(runs.begin(), runs.end(), 0,
                         [](int sum, const RowRange& run) { return sum + run.end - run.first; });
}

std::vector<RowRange> cutRuns(const std::vector<RowRange>& runs, int longest) {
  std::vector<RowRange> pieces;
  for (const auto& run : runs) {
    const int rows = run.end - run.first;
    const int count = (rows + longest - 1) / longest;
    for (int i = 0; i < count; ++i) {
      pieces.push_back({run.first + rows * i / count, run.first + rows * (i + 1) / count});
    }
  }
  return pieces;
}

}  // namespace quorvin
