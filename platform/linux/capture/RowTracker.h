#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/linux/capture/RowHistory.h"

namespace quorvin {

// Keeps the history of the rows of a stream's pictures while they are made. One thread at a time.
class RowTracker {
 public:
  // Begins a new series of pictures of so many rows; nothing is known of how they compare with
  // those before.
  void restart(int rows);
  // The next picture differs from the last one in these rows; what lies outside of it is left out.
  void markChanged(RowRange rows);
  // The history of the next picture, which is made from now on. Only after `restart`.
  [[nodiscard]] std::shared_ptr<const RowHistory> nextPicture();

 private:
  std::shared_ptr<const void> series;
  std::uint64_t number = 0;  // of the last picture
  std::vector<std::uint64_t> changedBy;
};

}  // namespace quorvin
