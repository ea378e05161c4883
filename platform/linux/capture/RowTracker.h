#pragma once

#include <cstdint>
#include <memory>

#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/frame/RowHistory.h"

namespace quorvin {

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
