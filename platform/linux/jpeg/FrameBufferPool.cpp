#include "platform/linux/jpeg/FrameBufferPool.h"

#include <new>
#include <numeric>
#include <utility>

namespace quorvin {

std::shared_ptr<std::uint8_t> FrameBufferPool::take(std::size_t sizeBytes) {
  GrowingBytes buffer = takeKept(sizeBytes);
  if (!buffer.setCapacity(sizeBytes)) throw std::bad_alloc();
  auto lent = std::make_shared<Lent>(shared_from_this(), std::move(buffer));
  std::uint8_t* bytes = lent->bytes.data();
  return {std::move(lent), bytes};
}

std::size_t FrameBufferPool::keptCount() {
  const std::scoped_lock lock(mutex);
  return kept.size();
}

std::size_t FrameBufferPool::keptBytes() {
  const std::scoped_lock lock(mutex);
  return std::accumulate(
      kept.begin(), kept.end(), std::size_t{0},
      [](std::size_t sum, const GrowingBytes& buffer) { return sum + buffer.capacityBytes(); });
}

GrowingBytes FrameBufferPool::takeKept(std::size_t sizeBytes) {
  const std::scoped_lock lock(mutex);
  kept.reserve(maximumKept);  // giving back then never needs memory
  lastSize = sizeBytes;
  std::erase_if(kept, [this](const GrowingBytes& buffer) { return isTooLarge(buffer); });
  if (kept.empty()) return {};
  GrowingBytes buffer = std::move(kept.back());
  kept.pop_back();
  return buffer;
}

bool FrameBufferPool::isTooLarge(const GrowingBytes& buffer) const {
  return buffer.capacityBytes() / 2 > lastSize;
}

void FrameBufferPool::giveBack(GrowingBytes buffer) {
  const std::scoped_lock lock(mutex);
  if (kept.size() < maximumKept && !isTooLarge(buffer)) kept.push_back(std::move(buffer));
}

}  // namespace quorvin
