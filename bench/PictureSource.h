#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvin {

// A running program that turns a screen into coded pictures. One thread at a time.
class PictureSource {
 public:
  using Clock = std::chrono::steady_clock;
  using Bytes = std::vector<std::uint8_t>;

  PictureSource(const PictureSource&) = delete;
  PictureSource& operator=(const PictureSource&) = delete;
  virtual ~PictureSource() = default;

  // The bytes of the next picture; nothing when none is whole by then. Throws std::runtime_error
  // when the program has ended.
  [[nodiscard]] virtual std::optional<Bytes> next(Clock::time_point deadline) = 0;
  [[nodiscard]] virtual pid_t processId() const = 0;

 protected:
  PictureSource() = default;
};

}  // namespace quorvin
