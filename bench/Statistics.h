#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace quorvin {

// Throws std::out_of_range when there are none.
[[nodiscard]] inline double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values.at(values.size() / 2);
}

template <typename Duration>
[[nodiscard]] double milliseconds(Duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

template <typename Duration>
[[nodiscard]] double seconds(Duration duration) {
  return std::chrono::duration<double>(duration).count();
}

}  // namespace quorvin
