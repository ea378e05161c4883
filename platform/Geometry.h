#pragma once

namespace quorvin {

// Sizes and places are in points, the unit of the global coordinate space, unless a name says
// otherwise. That space has y growing downwards.
struct Size {
  double width = 0;
  double height = 0;

  friend bool operator==(const Size&, const Size&) = default;
};

struct Point {
  double x = 0;
  double y = 0;

  friend bool operator==(const Point&, const Point&) = default;
};

// A size may be negative: the rectangle then lies on the other side of its origin.
struct Rect {
  Point origin;
  Size size;

  friend bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace quorvin
