#include "platform/linux/frame/PixelRegion.h"

#include <algorithm>
#include <limits>

namespace quorvin {

namespace {

// What one more request costs, in pixels that could be transferred in the same time: measured with
// capture_bench on an X server of this machine, over shared memory.
constexpr std::int64_t requestCostPx = 16'384;

// The pixels that the common bounds hold beyond the two rectangles themselves.
std::int64_t wasteOfMerging(const PixelRect& a, const PixelRect& b) {
  return boundsOf(a, b).area() - (a.area() + b.area() - intersectionOf(a, b).area());
}

}  // namespace

std::int64_t PixelRect::area() const {
  return isEmpty() ? 0 : static_cast<std::int64_t>(width) * height;
}

PixelRect intersectionOf(const PixelRect& a, const PixelRect& b) {
  const int left = std::max(a.x, b.x);
  const int top = std::max(a.y, b.y);
  const PixelRect common{left, top, std::min(a.right(), b.right()) - left,
                         std::min(a.bottom(), b.bottom()) - top};
  return common.isEmpty() ? PixelRect{} : common;
}

PixelRect boundsOf(const PixelRect& a, const PixelRect& b) {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  const int left = std::min(a.x, b.x);
  const int top = std::min(a.y, b.y);
  return {left, top, std::max(a.right(), b.right()) - left, std::max(a.bottom(), b.bottom()) - top};
}

void PixelRegion::add(PixelRect rect) {
  if (rect.isEmpty()) return;
  // Every merge makes the rectangle larger, so it may now reach a neighbour it missed before.
  while (absorbNeighbour(rect)) {
  }
  storage.push_back(rect);
  if (storage.size() > maximumRects) mergeCheapestPair();
}

void PixelRegion::add(const PixelRegion& region) {
  for (const PixelRect& rect : region.storage) add(rect);
}

bool PixelRegion::absorbNeighbour(PixelRect& rect) {
  const auto neighbour = std::ranges::find_if(storage, [&rect](const PixelRect& other) {
    return wasteOfMerging(rect, other) <= requestCostPx;
  });
  if (neighbour == storage.end()) return false;
  rect = boundsOf(rect, *neighbour);
  storage.erase(neighbour);
  return true;
}

void PixelRegion::mergeCheapestPair() {
  std::size_t first = 0;
  std::size_t second = 1;
  std::int64_t leastWaste = std::numeric_limits<std::int64_t>::max();
  for (std::size_t i = 0; i < storage.size(); ++i) {
    for (std::size_t j = i + 1; j < storage.size(); ++j) {
      const std::int64_t waste = wasteOfMerging(storage[i], storage[j]);
      if (waste >= leastWaste) continue;
      leastWaste = waste;
      first = i;
      second = j;
    }
  }
  const PixelRect merged = boundsOf(storage[first], storage[second]);
  storage.erase(storage.begin() + static_cast<std::ptrdiff_t>(second));
  storage.erase(storage.begin() + static_cast<std::ptrdiff_t>(first));
  add(merged);
}

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
