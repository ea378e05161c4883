#pragma once

#include <atomic>
#include <cstdint>

namespace quorvin {

// What the captures of this process have asked of the X server so far. Any thread.
struct CaptureCounters {
  std::atomic<std::uint64_t> looks = 0;  // times that a stream asked what had changed
  std::atomic<std::uint64_t> fetchedBytes = 0;
};

}  // namespace quorvin
