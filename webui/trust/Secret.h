#pragma once

#include <sodium.h>

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string_view>
#include <utility>

#include "platform/Data.h"

namespace quorvin::webui {

using ByteView = std::span<const std::uint8_t>;
// Fills all of it with bytes that nobody can foresee. Tests give others.
using RandomBytes = std::function<void(std::span<std::uint8_t>)>;

// Bytes that nobody shall find in memory later: wiped when they are dropped.
template <std::size_t length>
class Secret {
 public:
  Secret() = default;
  Secret(Secret&& other) noexcept { std::swap(content, other.content); }
  Secret& operator=(Secret&& other) noexcept {
    std::swap(content, other.content);
    return *this;
  }
  ~Secret() { wipe(); }

  [[nodiscard]] std::span<std::uint8_t, length> bytes() { return content; }
  [[nodiscard]] std::span<const std::uint8_t, length> bytes() const { return content; }
  void wipe() { sodium_memzero(content.data(), length); }

 private:
  std::array<std::uint8_t, length> content{};
};

[[nodiscard]] inline ByteView bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}
[[nodiscard]] inline Bytes joined(std::initializer_list<ByteView> parts) {
  Bytes bytes;
  for (const auto part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
  return bytes;
}

}  // namespace quorvin::webui
