#pragma once

#include <cstdint>

namespace quorvin {

// How far one notch of a wheel scrolls. It is what browsers take a notch for, from which the
// distances of remote input come, so a notch turned there is a notch here.
inline constexpr std::int32_t pixelsPerNotch = 100;

// Turns distances along one axis into whole notches. What does not make a whole one is carried to
// the next distance, so that in the long run nothing is lost or added.
class ScrollNotches {
 public:
  // Farther is not scrolled at once: each notch is an event of its own.
  static constexpr std::int32_t maximumDistance = 10'000;  // pixels

  // The notches to turn now; negative for the other direction.
  [[nodiscard]] std::int32_t add(std::int32_t pixels);

 private:
  std::int32_t remainder = 0;  // always less than a notch
};

}  // namespace quorvin
