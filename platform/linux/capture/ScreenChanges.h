#pragma once

#include <vector>

#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/frame/RowSet.h"

namespace quorvin {

// What changed on a display: a region to fetch, and exactly the parts and their rows. The region
// does not tell them, since it may hold much of what lies between two changes.
struct ScreenChanges {
  PixelRegion region;
  RowSet rows;
  std::vector<PixelRect> parts;

  void add(const PixelRect& rect) {
    if (rect.isEmpty()) return;
    region.add(rect);
    rows.add({rect.y, rect.bottom()});
    parts.push_back(rect);
  }
  void add(const ScreenChanges& others) {
    for (const PixelRect& part : others.parts) add(part);
  }
  void clear() {
    region.clear();
    rows.clear();
    parts.clear();
  }
  [[nodiscard]] bool isEmpty() const { return rows.isEmpty(); }
};

}  // namespace quorvin
