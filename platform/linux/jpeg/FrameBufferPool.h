#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

#include "platform/Mutex.h"

namespace quorvin {

// Bytes that C code writes, and that grow while it does. They never throw, since nothing may be
// thrown through C code, and leave new memory as it is. Growing and shrinking keep what pages there
// are, so that those are not mapped anew for each frame.
class ByteBuffer {
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

// Keeps the memory of a finished file that everybody has let go of for the next one, so that a
// frame finds its pages mapped already. A buffer comes back when its last owner lets go, on any
// thread, and also after everybody else has forgotten the pool. Any thread.
//
// A buffer is at most an eighth larger than requested: files that follow each other have nearly the
// same size, and to take a page from a large buffer interrupts all threads of the process. At most
// `maximumKept` wait here; those more than twice as large as the last request go back to the
// system.
class FrameBufferPool : public std::enable_shared_from_this<FrameBufferPool> {
 public:
  // The next file takes up one while the last but one may still be on its way.
  static constexpr std::size_t maximumKept = 2;

  struct Buffer {
    std::shared_ptr<std::uint8_t> bytes;
    std::size_t capacityBytes = 0;
  };

  // The contents are undefined. Throws std::bad_alloc.
  [[nodiscard]] Buffer take(std::size_t sizeBytes);
  // How many wait for their next use.
  [[nodiscard]] std::size_t keptCount();

 private:
  struct PooledBuffer {
    PooledBuffer(std::shared_ptr<FrameBufferPool> pool, ByteBuffer bytes)
        : pool(std::move(pool)), bytes(std::move(bytes)) {}
    PooledBuffer(const PooledBuffer&) = delete;
    PooledBuffer& operator=(const PooledBuffer&) = delete;
    ~PooledBuffer() { pool->giveBack(std::move(bytes)); }

    std::shared_ptr<FrameBufferPool> pool;
    ByteBuffer bytes;
  };

  [[nodiscard]] ByteBuffer takeKept(std::size_t sizeBytes);
  [[nodiscard]] bool isTooLarge(const ByteBuffer& buffer) const QUORVIN_REQUIRES(mutex);
  void giveBack(ByteBuffer buffer);

  Mutex mutex;
  std::vector<ByteBuffer> kept QUORVIN_GUARDED_BY(mutex);
  std::size_t lastSize QUORVIN_GUARDED_BY(mutex) = 0;
};

}  // namespace quorvin
