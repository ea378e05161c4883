#pragma once

#include <cstdint>

namespace quorvin {

inline constexpr std::uint32_t mediaTimeValid = 1;

// A rational time stamp or duration of value / timescale seconds.
struct MediaTime {
  std::int64_t value = 0;
  std::int32_t timescale = 1;
  // The bits are those of CMTimeFlags; without mediaTimeValid it is no time at all.
  std::uint32_t flags = mediaTimeValid;
  std::int64_t epoch = 0;  // tells time lines apart, whose values cannot be compared

  friend bool operator==(const MediaTime&, const MediaTime&) = default;
};

}  // namespace quorvin
