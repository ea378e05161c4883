#pragma once

#include "platform/linux/capture/PixelRegion.h"
#include "platform/linux/capture/RowSet.h"

namespace quorvin {

// What changed on a display: a region to fetch, and exactly the rows. The region does not tell
// them, since it may hold much of what lies between two changes.
struct ScreenChanges {
  PixelRegion region;
  RowSet rows;

  void add(const PixelRect& rect) {
    region.add(rect);
    if (!rect.isEmpty()) rows.add({rect.y, rect.bottom()});
  }
  void add(const ScreenChanges& changes) {
    region.add(changes.region);
    rows.add(changes.rows);
  }
  void clear() {
    region.clear();
    rows.clear();
  }
  [[nodiscard]] bool isEmpty() const { return rows.isEmpty(); }
};

}  // namespace quorvin
