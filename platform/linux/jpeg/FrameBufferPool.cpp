#include "platform/linux/jpeg/FrameBufferPool.h"

#include <new>
#include <utility>

namespace quorvin {

namespace {

constexpr std::size_t spareShare = 8;

bool fits(std::size_t sizeBytes, std::size_t capacityBytes) {
  return sizeBytes <= capacityBytes && capacityBytes - sizeBytes <= sizeBytes / spareShare;
}

// In the middle of what fits, so that the next files may be larger as well as smaller.
std::size_t fittingCapacity(std::size_t sizeBytes) {
  return sizeBytes + sizeBytes / spareShare / 2;
}

}  // namespace

FrameBufferPool::Buffer FrameBufferPool::take(std::size_t sizeBytes) {
  ByteBuffer buffer = takeKept(sizeBytes);
  if (!fits(sizeBytes, buffer.capacityBytes()) && !buffer.setCapacity(fittingCapacity(sizeBytes))) {
    throw std::bad_alloc();
  }
  const std::size_t capacity = buffer.capacityBytes();
  auto lent = std::make_shared<PooledBuffer>(shared_from_this(), std::move(buffer));
  std::uint8_t* bytes = lent->bytes.data();
  return {{std::move(lent), bytes}, capacity};
}

std::size_t FrameBufferPool::keptCount() {
  const MutexLock lock(mutex);
  return kept.size();
}

ByteBuffer FrameBufferPool::takeKept(std::size_t sizeBytes) {
  const MutexLock lock(mutex);
  kept.reserve(maximumKept);  // giving back then never needs memory
  lastSize = sizeBytes;
  std::erase_if(kept, [this](const ByteBuffer& buffer)
                          QUORVIN_REQUIRES(mutex) { return isTooLarge(buffer); });
  if (kept.empty()) return {};
  ByteBuffer buffer = std::move(kept.back());
  kept.pop_back();
  return buffer;
}

bool FrameBufferPool::isTooLarge(const ByteBuffer& buffer) const {
  return buffer.capacityBytes() / 2 > lastSize;
}

void FrameBufferPool::giveBack(ByteBuffer buffer) {
  const MutexLock lock(mutex);
  if (kept.size() < maximumKept && !isTooLarge(buffer)) kept.push_back(std::move(buffer));
}

}  // namespace quorvin
