#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvin {

// A running program that turns a screen into coded frames. One thread at a time.
class FrameSource {
 public:
  using Clock = std::chrono::steady_clock;
  using Bytes = std::vector<std::uint8_t>;

  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;
  virtual ~FrameSource() = default;

  // The bytes of the next frame; nothing when none is whole by then. Throws std::runtime_error
  // when the program has ended.
  [[nodiscard]] virtual std::optional<Bytes> next(Clock::time_point deadline) = 0;
  [[nodiscard]] virtual pid_t processId() const = 0;

 protected:
  FrameSource() = default;
};

}  // namespace quorvin
