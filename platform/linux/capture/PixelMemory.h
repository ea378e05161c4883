#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// Runs of zeroed pages for pictures; unmapped when the last owner lets go, on any thread. All
// throw Error when the system has no memory left.
using PixelMemory = std::shared_ptr<std::uint8_t>;

// Memory of this process alone.
[[nodiscard]] PixelMemory allocatePixelMemory(std::size_t sizeBytes);

struct SharedPixelMemory {
  PixelMemory memory;
  FileDescriptor descriptor;  // another process that maps it sees the same bytes
};
[[nodiscard]] SharedPixelMemory allocateSharedPixelMemory(std::size_t sizeBytes);

// A System V segment, which goes away by itself once everybody has detached from it.
class SystemVPixelMemory {
 public:
  explicit SystemVPixelMemory(std::size_t sizeBytes);
  SystemVPixelMemory(const SystemVPixelMemory&) = delete;
  SystemVPixelMemory& operator=(const SystemVPixelMemory&) = delete;
  // Forbids further attaching by marking the segment for removal.
  ~SystemVPixelMemory();

  [[nodiscard]] std::uint32_t identifier() const;
  [[nodiscard]] const PixelMemory& memory() const { return pages; }

 private:
  int id;
  PixelMemory pages;
};

}  // namespace quorvin
