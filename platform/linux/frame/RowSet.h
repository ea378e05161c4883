#pragma once

#include <vector>

#include "platform/linux/frame/RowHistory.h"

namespace quorvin {

// A set of rows; it holds exactly what was added. One thread at a time.
class RowSet {
 public:
  RowSet() = default;
  explicit RowSet(RowRange rows) { add(rows); }

  void add(RowRange rows);
  void add(const RowSet& rows);
  void clear() { storage.clear(); }

  [[nodiscard]] bool isEmpty() const { return storage.empty(); }
  // From top to bottom, with at least one row that is not in the set between two of them.
  [[nodiscard]] const std::vector<RowRange>& ranges() const { return storage; }

 private:
  std::vector<RowRange> storage;
};

}  // namespace quorvin
