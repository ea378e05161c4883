#include "platform/linux/capture/FrameBufferPool.h"

#include <utility>

namespace quorvin {

std::shared_ptr<std::uint8_t> FrameBufferPool::take(std::size_t sizeBytes) {
  Buffer buffer = takeKept(sizeBytes);
  if (!buffer.bytes) {
    buffer = {std::make_unique_for_overwrite<std::uint8_t[]>(sizeBytes), sizeBytes};
  }
  std::uint8_t* bytes = buffer.bytes.release();
  return {bytes, [pool = shared_from_this(), capacity = buffer.capacity](std::uint8_t* returned) {
            pool->giveBack({std::unique_ptr<std::uint8_t[]>(returned), capacity});
          }};
}

std::size_t FrameBufferPool::keptCount() {
  const std::scoped_lock lock(mutex);
  return kept.size();
}

FrameBufferPool::Buffer FrameBufferPool::takeKept(std::size_t sizeBytes) {
  const std::scoped_lock lock(mutex);
  while (!kept.empty()) {
    Buffer buffer = std::move(kept.back());
    kept.pop_back();
    // Those of smaller pictures are dropped on the way: the size rarely changes, and then for good.
    if (buffer.capacity >= sizeBytes) return buffer;
  }
  return {};
}

void FrameBufferPool::giveBack(Buffer buffer) {
  const std::scoped_lock lock(mutex);
  if (kept.size() < maximumKept) kept.push_back(std::move(buffer));
}

}  // namespace quorvin
