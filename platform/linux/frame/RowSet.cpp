#include "platform/linux/frame/RowSet.h"

#include <algorithm>

namespace quorvin {

void RowSet::add(RowRange rows) {
  if (rows.first >= rows.end) return;
  // Those that the new range overlaps or touches become one with it.
  const auto from = std::ranges::lower_bound(storage, rows.first, {}, &RowRange::end);
  const auto to = std::ranges::upper_bound(from, storage.end(), rows.end, {}, &RowRange::first);
  if (from == to) {
    storage.insert(from, rows);
    return;
  }
  from->first = std::min(from->first, rows.first);
  from->end = std::max(std::prev(to)->end, rows.end);
  storage.erase(std::next(from), to);
}

void RowSet::add(const RowSet& rows) {
  for (const RowRange& range : rows.storage) add(range);
}

}  // namespace quorvin
