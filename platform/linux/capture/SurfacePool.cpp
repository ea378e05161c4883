#include "platform/linux/capture/SurfacePool.h"

#include <algorithm>
#include <iterator>

namespace quorvin {

SurfacePool::SurfacePool(PixelImageFactory makeImage, std::shared_ptr<EventFd> wakeup)
    : makeImage(std::move(makeImage)), wakeup(std::move(wakeup)) {}

void SurfacePool::configure(PixelSize newSize, std::size_t newDepth) {
  depth = newDepth;
  if (newSize != size) {
    std::ranges::move(surfaces, std::back_inserter(retired));
    surfaces.clear();
    tracker.restart(newSize);
  }
  size = newSize;
  while (surfaces.size() > depth) {
    const auto spare = std::ranges::find_if_not(surfaces, isLent);
    if (spare == surfaces.end()) break;
    surfaces.erase(spare);
  }
}

bool SurfacePool::hasFree() const {
  if (countLent() < depth) return true;
  someoneWaits->store(true);
  // One may have come back before that, and told nobody.
  return countLent() < depth;
}

std::size_t SurfacePool::countLent() const {
  return static_cast<std::size_t>(std::ranges::count_if(surfaces, isLent) +
                                  std::ranges::count_if(retired, isLent));
}

SurfacePool::Surface& SurfacePool::mostRecentFree() {
  Surface* best = nullptr;
  for (Surface& surface : surfaces) {
    if (isLent(surface)) continue;
    if (best == nullptr || surface.lastUse > best->lastUse) best = &surface;
  }
  return best != nullptr ? *best : makeSurface();
}

void SurfacePool::markDamaged(const Damage& damage) {
  for (Surface& surface : surfaces) surface.stale.add(damage.region);
  for (const PixelRect& part : damage.parts) tracker.markDamaged(part);
}

std::shared_ptr<CapturedFrame> SurfacePool::lend(Surface& surface) {
  std::erase_if(retired, [](const Surface& old) { return !isLent(old); });
  surface.stale.clear();
  surface.lastUse = ++uses;
  surface.lent->store(true);
  const PixelImage& image = surface.image;
  std::shared_ptr<const void> loan(
      image.memory.get(), [memory = image.memory, lent = surface.lent, someoneWaits = someoneWaits,
                           wakeup = wakeup](const void*) {
        lent->store(false);
        if (someoneWaits->exchange(false)) wakeup->signal();
      });
  auto frame = std::make_shared<CapturedFrame>(
      std::move(loan), image.memory.get(), static_cast<std::size_t>(image.size.width),
      static_cast<std::size_t>(image.size.height), image.strideBytes());
  frame->setDamageHistory(tracker.nextFrame());
  return frame;
}

bool SurfacePool::isLent(const Surface& surface) {
  return surface.lent->load();
}

SurfacePool::Surface& SurfacePool::makeSurface() {
  Surface surface;
  surface.image = makeImage(size);
  surface.stale.add(wholeOf(size));
  surface.lent = std::make_shared<std::atomic<bool>>(false);
  return surfaces.emplace_back(std::move(surface));
}

}  // namespace quorvin
