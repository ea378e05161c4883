#include "platform/linux/capture/FrameComposer.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace quorvin {

// --- Surfaces

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

// --- Frames

namespace {

// Rectangles of the full width become one only when few rows lie between them.
Damage inFullWidth(const RowSet& rows, int width) {
  Damage damage;
  for (const RowRange& range : rows.ranges()) {
    damage.add({0, range.first, width, range.end - range.first});
  }
  return damage;
}

RowSet rowsOf(const PixelRegion& region) {
  RowSet rows;
  for (const PixelRect& rect : region.rects()) rows.add({rect.y, rect.bottom()});
  return rows;
}

bool contains(const PixelRegion& region, const PixelRect& rect) {
  return std::ranges::any_of(region.rects(), [&rect](const PixelRect& part) {
    return intersectionOf(part, rect) == rect;
  });
}

// Those of the rectangles that are not whole in the other region.
PixelRegion without(const PixelRegion& region, const PixelRegion& other) {
  PixelRegion rest;
  for (const PixelRect& rect : region.rects()) {
    if (!contains(other, rect)) rest.add(rect);
  }
  return rest;
}

}  // namespace

FrameComposer::FrameComposer(X11ScreenReader& reader, X11DamageMonitor* damage,
                             std::shared_ptr<EventFd> wakeup)
    : reader(reader),
      damage(damage),
      pool([&reader](PixelSize size) { return reader.makeImage(size); }, std::move(wakeup)) {}

void FrameComposer::configure(const PixelRect& newDisplay, PixelSize newFrameSize,
                              std::size_t depth) {
  dropFetch();
  pool.configure(newFrameSize, depth);
  if (newDisplay == display && newFrameSize == frameSize) return;
  display = newDisplay;
  frameSize = newFrameSize;
  reader.setOrigin(display.x, display.y);
  copy.reset();
  if (damage == nullptr || display.size() != frameSize) {
    copy.emplace(Copy{reader.makeImage(display.size()), PixelScaler(display.size(), frameSize)});
  }
  startOver();
}

void FrameComposer::requestDamage() {
  if (damage == nullptr || !damage->isPending()) return;
  dropFetch();
  const PixelRect reported =
      intersectionOf(damage->reportedArea(), display).movedBy(-display.x, -display.y);
  damage->request();
  if (!reported.isEmpty() && canCompose()) requestPixels(reported);
}

// Most damage is a single rectangle, and the server has reported it. So its pixels are requested
// together with the damage, and need no second round trip.
void FrameComposer::requestPixels(const PixelRect& reported) {
  fetch.emplace(Fetch{copy ? nullptr : &pool.mostRecentFree(), {}});
  if (fetch->surface != nullptr) fetch->surface->underCursor.restore(fetch->surface->image);
  fetch->region = pending.region;
  if (fetch->surface != nullptr) fetch->region.add(fetch->surface->stale);
  fetch->region.add(reported);
  reader.requestPixels(fetch->region,
                       fetch->surface != nullptr ? fetch->surface->image : copy->image);
  damage->request();
}

bool FrameComposer::findDamage() {
  if (damage == nullptr) {
    compare();
  } else {
    requestDamage();
    pending.add(damage->waitForReply(display));
    finishFetch();
  }
  return !pending.isEmpty();
}

void FrameComposer::finishFetch() {
  if (!fetch || fetch->isThere) return;
  fetch->isThere = reader.waitForPixels();
  fetch->damageMeanwhile = damage->waitForReply(display);
  // There is no frame to come for which it could be of use.
  if (pending.isEmpty()) dropFetch();
}

void FrameComposer::dropFetch() {
  if (const auto dropped = std::exchange(fetch, {})) pending.add(dropped->damageMeanwhile);
}

void FrameComposer::compare() {
  const auto changes = reader.readChanges(copy->image);
  if (!changes) {
    startOver();
    return;
  }
  pending.region.clear();  // all of it has just been read
  pending.rows.add(*changes);
}

std::shared_ptr<CapturedFrame> FrameComposer::compose(
    const std::optional<CursorPlacement>& cursor) {
  SurfacePool::Surface& surface = takeSurface();
  auto damageMeanwhile = copy ? scaleCopy(surface) : draw(surface);
  if (!damageMeanwhile) {
    startOver();
    return {};
  }
  pending = std::move(*damageMeanwhile);
  markCursor(cursor);
  drawCursor(cursor, surface);
  return pool.lend(surface);
}

// Without the cursor.
SurfacePool::Surface& FrameComposer::takeSurface() {
  SurfacePool::Surface& surface =
      fetch && fetch->surface != nullptr ? *fetch->surface : pool.mostRecentFree();
  surface.underCursor.restore(surface.image);
  return surface;
}

std::optional<Damage> FrameComposer::draw(SurfacePool::Surface& surface) {
  pool.markDamaged(pending);
  auto damageMeanwhile = read(surface.stale, surface.image);
  if (damageMeanwhile) pool.markDamaged(*damageMeanwhile);
  return damageMeanwhile;
}

std::optional<Damage> FrameComposer::scaleCopy(SurfacePool::Surface& surface) {
  auto damageMeanwhile = read(pending.region, copy->image);
  if (!damageMeanwhile) return {};
  pending.rows.add(damageMeanwhile->rows);
  pool.markDamaged(
      inFullWidth(copy->scaler.sourceChanged(copy->image, pending.rows), frameSize.width));
  copy->scaler.draw(copy->image, rowsOf(surface.stale), surface.image);
  return damageMeanwhile;
}

// The server reads the pixels between two requests for damage, so they may or may not show what the
// second reply names. That damage therefore counts twice: in this frame and in the next. All other
// pixels are what any earlier frame shows, or what the first reply named.
std::optional<Damage> FrameComposer::read(const PixelRegion& region, PixelImage& target) {
  const auto fetched = std::exchange(fetch, {});
  const PixelRegion rest =
      fetched && fetched->isThere == true ? without(region, fetched->region) : region;
  Damage damageMeanwhile;
  if (fetched) damageMeanwhile = fetched->damageMeanwhile;
  if (rest.isEmpty()) return damageMeanwhile;
  reader.requestPixels(rest, target);
  if (damage != nullptr) damage->request();
  const bool isComplete = reader.waitForPixels();
  if (damage != nullptr) damageMeanwhile.add(damage->waitForReply(display));
  if (!isComplete) return {};
  return damageMeanwhile;
}

void FrameComposer::drawCursor(const std::optional<CursorPlacement>& cursor,
                               SurfacePool::Surface& surface) {
  if (!cursor) return;
  surface.underCursor.save(surface.image, intersectionOf(cursor->area, wholeOf(frameSize)));
  blendCursor(*cursor->image, cursor->area, surface.image);
}

void FrameComposer::markCursor(const std::optional<CursorPlacement>& cursor) {
  if (cursor == drawnCursor) return;
  if (drawnCursor) pool.markCursor(drawnCursor->area);
  if (cursor) pool.markCursor(cursor->area);
  drawnCursor = cursor;
}

}  // namespace quorvin
