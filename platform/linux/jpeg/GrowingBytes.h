#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

namespace quorvin {

// Bytes that C code writes, and that grow while it does. They never throw, since nothing may be
// thrown through C code, and leave new memory as it is. Growing and shrinking keep what pages there
// are, so that those are not mapped anew for each picture.
class GrowingBytes {
 public:
  [[nodiscard]] std::uint8_t* data() { return memory.get(); }
  [[nodiscard]] std::size_t capacityBytes() const { return capacity; }
  [[nodiscard]] std::span<const std::uint8_t> written() const { return {memory.get(), size}; }
  // Not more than the capacity.
  void setWritten(std::size_t sizeBytes) { size = sizeBytes; }

  // Keeps what fits in of the contents, written or not. False when the system has no memory left,
  // and then nothing is changed.
  [[nodiscard]] bool setCapacity(std::size_t sizeBytes) {
    if (sizeBytes == capacity) return true;
    auto* moved =
        static_cast<std::uint8_t*>(std::realloc(memory.get(), std::max<std::size_t>(sizeBytes, 1)));
    if (moved == nullptr) return false;
    static_cast<void>(memory.release());
    memory.reset(moved);
    capacity = sizeBytes;
    size = std::min(size, capacity);
    return true;
  }

 private:
  struct Free {
    void operator()(std::uint8_t* owned) const { std::free(owned); }
  };

  std::unique_ptr<std::uint8_t, Free> memory;
  std::size_t capacity = 0;
  std::size_t size = 0;
};

}  // namespace quorvin
