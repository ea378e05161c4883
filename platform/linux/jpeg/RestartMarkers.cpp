#include "platform/linux/jpeg/RestartMarkers.h"

#include <algorithm>

namespace quorvin {

namespace {

constexpr std::uint8_t prefix = 0xFF;

// Behind the next marker; beyond the end when there is none.
std::size_t behindMarker(std::span<const std::uint8_t> coded, std::size_t from) {
  std::size_t place = from;
  while (place + 1 < coded.size() && (coded[place] != prefix || coded[place + 1] == 0)) ++place;
  return place + markerBytes;
}

}  // namespace

bool findEnds(std::span<const std::uint8_t> coded, std::span<std::size_t> marks) {
  std::size_t end = 0;
  for (std::size_t row = 0; row < marks.size(); ++row) {
    end = behindMarker(coded, std::max(end, marks[row]));
    if (end > coded.size() || coded[end - 1] != markerBehind(row, marks.size())) return false;
    marks[row] = end;
  }
  return end == coded.size();
}

}  // namespace quorvin
