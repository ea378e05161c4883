#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

// An input of a fuzzer, taken piece by piece from its front.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : left(data, size) {}

  [[nodiscard]] bool empty() const { return left.empty(); }
  // 0 at the end.
  std::uint8_t byte() {
    const auto first = bytes(1);
    return first.empty() ? std::uint8_t{0} : first[0];
  }
  // As many as there are.
  std::span<const std::uint8_t> bytes(std::size_t count) {
    const auto taken = left.first(std::min(count, left.size()));
    left = left.subspan(taken.size());
    return taken;
  }

 private:
  std::span<const std::uint8_t> left;
};
