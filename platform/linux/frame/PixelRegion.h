#pragma once

#include <cstdint>
#include <vector>

namespace quorvin {

struct PixelSize {
  int width = 0;
  int height = 0;

  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

// Covers the columns x to right() - 1 and the rows y to bottom() - 1.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  [[nodiscard]] int right() const { return x + width; }
  [[nodiscard]] int bottom() const { return y + height; }
  [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0; }
  [[nodiscard]] PixelSize size() const { return {width, height}; }
  [[nodiscard]] std::int64_t area() const;
  [[nodiscard]] PixelRect movedBy(int dx, int dy) const { return {x + dx, y + dy, width, height}; }

  friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

// An empty rectangle when the two do not meet.
[[nodiscard]] PixelRect intersectionOf(const PixelRect& a, const PixelRect& b);
// The smallest rectangle that holds both; an empty one adds nothing.
[[nodiscard]] PixelRect boundsOf(const PixelRect& a, const PixelRect& b);
[[nodiscard]] inline PixelRect wholeOf(PixelSize size) {
  return {0, 0, size.width, size.height};
}

// A set of pixels, kept as a few rectangles: it holds everything that was added and may hold
// somewhat more. Asking the X server for one more rectangle costs as much as some thousand
// pixels, so near neighbours become one, and the number of rectangles is bounded.
class PixelRegion {
 public:
  static constexpr std::size_t maximumRects = 16;

  PixelRegion() = default;
  explicit PixelRegion(const PixelRect& rect) { add(rect); }

  void add(PixelRect rect);
  void add(const PixelRegion& region);
  void clear() { storage.clear(); }

  [[nodiscard]] bool isEmpty() const { return storage.empty(); }
  [[nodiscard]] const std::vector<PixelRect>& rects() const { return storage; }

 private:
  bool absorbNeighbour(PixelRect& rect);
  void mergeCheapestPair();

  std::vector<PixelRect> storage;
};

// The rows from `first` to `end` - 1.
struct RowRange {
  int first = 0;
  int end = 0;

  friend bool operator==(const RowRange&, const RowRange&) = default;
};

// The columns from `first` to `end` - 1.
struct ColumnRange {
  int first = 0;
  int end = 0;

  friend bool operator==(const ColumnRange&, const ColumnRange&) = default;
};

// A set of rows; it holds exactly what was added. One thread at a time.
class RowSet {
 public:
  RowSet() = default;
  explicit RowSet(RowRange rows) { add(rows); }

  void add(RowRange rows);
  void add(const RowSet& rows);

  [[nodiscard]] bool isEmpty() const { return storage.empty(); }
  // From top to bottom, with at least one row that is not in the set between two of them.
  [[nodiscard]] const std::vector<RowRange>& ranges() const { return storage; }

 private:
  std::vector<RowRange> storage;
};

}  // namespace quorvin
