#pragma once

#include <cstdint>

namespace quorvin {

// A rational time stamp or duration of value / timescale seconds.
struct MediaTime {
  std::int64_t value = 0;
  std::int32_t timescale = 1;

  friend bool operator==(const MediaTime&, const MediaTime&) = default;
};

}  // namespace quorvin
