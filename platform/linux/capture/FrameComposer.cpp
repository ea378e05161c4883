#include "platform/linux/capture/FrameComposer.h"

#include <algorithm>
#include <utility>

namespace quorvin {

namespace {

// The rows in full width: a region of such rectangles holds few rows that were not meant, since no
// two that are far apart become one.
PixelRegion fullRows(const RowSet& rows, int width) {
  PixelRegion region;
  for (const RowRange& range : rows.ranges()) {
    region.add({0, range.first, width, range.end - range.first});
  }
  return region;
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
    copy.emplace(
        Copy{reader.makeImage(display.size()), {}, PixelScaler(display.size(), frameSize)});
  }
  startOver();
}

void FrameComposer::startOver() {
  if (copy) copy->stale.add(wholeOf(display.size()));
  pool.markStale(PixelRegion(wholeOf(frameSize)));
  tracker.restart(frameSize);
  outOfDate = true;
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
  fetch->region = fetch->surface != nullptr ? fetch->surface->stale : copy->stale.region;
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
    addDamage(damage->waitForReply(display));
    finishFetch();
  }
  return outOfDate;
}

void FrameComposer::finishFetch() {
  if (!fetch || fetch->isThere) return;
  fetch->isThere = reader.waitForPixels();
  fetch->damageMeanwhile = damage->waitForReply(display);
  // There is no frame to come for which it could be of use.
  if (!outOfDate) dropFetch();
}

void FrameComposer::dropFetch() {
  if (const auto dropped = std::exchange(fetch, {})) addDamage(dropped->damageMeanwhile);
}

void FrameComposer::compare() {
  const auto changes = reader.readChanges(copy->image);
  if (!changes) {
    startOver();
    return;
  }
  // An earlier reading that failed may have brought in what now is no change any more.
  copy->stale.rows.add(*changes);
  if (copy->stale.isEmpty()) return;
  copyChanged(copy->stale.rows);
  copy->stale.clear();
  outOfDate = true;
}

void FrameComposer::addDamage(const ScreenDamage& changes) {
  if (changes.isEmpty()) return;
  outOfDate = true;
  if (copy) {
    copy->stale.region.add(changes.region);
    copy->stale.rows.add(changes.rows);
  } else {
    pool.markStale(changes.region);
    markDamaged(changes.parts);
  }
}

std::shared_ptr<CapturedFrame> FrameComposer::compose(
    const std::optional<CursorPlacement>& cursor) {
  SurfacePool::Surface& surface = takeSurface();
  const auto damageMeanwhile = draw(surface);
  if (!damageMeanwhile) {
    startOver();
    return {};
  }
  surface.stale.clear();
  markCursor(cursor);
  drawCursor(cursor, surface);
  auto result = pool.lend(surface);
  result->setDamageHistory(tracker.nextFrame());
  outOfDate = false;
  addDamage(*damageMeanwhile);
  return result;
}

// Without the cursor.
SurfacePool::Surface& FrameComposer::takeSurface() {
  SurfacePool::Surface& surface =
      fetch && fetch->surface != nullptr ? *fetch->surface : pool.mostRecentFree();
  surface.underCursor.restore(surface.image);
  return surface;
}

// Brings the surface up to date. As `read`.
std::optional<ScreenDamage> FrameComposer::draw(SurfacePool::Surface& surface) {
  if (copy) {
    auto damageMeanwhile = refreshCopy();
    if (!damageMeanwhile) return {};
    copy->scaler.draw(copy->image, rowsOf(surface.stale), surface.image);
    return damageMeanwhile;
  }
  auto damageMeanwhile = read(surface.stale, surface.image);
  if (damageMeanwhile) markDamaged(damageMeanwhile->parts);
  return damageMeanwhile;
}

std::optional<ScreenDamage> FrameComposer::refreshCopy() {
  auto damageMeanwhile = read(copy->stale.region, copy->image);
  if (!damageMeanwhile) return {};
  copy->stale.rows.add(damageMeanwhile->rows);
  copyChanged(copy->stale.rows);
  copy->stale.clear();
  return damageMeanwhile;
}

// Brings the region up to date. Returns the damage since the last reply, or nothing if the display
// cannot be read. The server reads the pixels between two requests for damage, so they may or may
// not show what the second reply names. That damage therefore counts twice: in this frame and in
// the next. All other pixels are what any earlier frame shows, or what the first reply named.
std::optional<ScreenDamage> FrameComposer::read(const PixelRegion& region, PixelImage& target) {
  const auto fetched = std::exchange(fetch, {});
  const PixelRegion rest =
      fetched && fetched->isThere == true ? without(region, fetched->region) : region;
  ScreenDamage damageMeanwhile;
  if (fetched) damageMeanwhile = fetched->damageMeanwhile;
  if (rest.isEmpty()) return damageMeanwhile;
  reader.requestPixels(rest, target);
  if (damage != nullptr) damage->request();
  const bool isComplete = reader.waitForPixels();
  if (damage != nullptr) damageMeanwhile.add(damage->waitForReply(display));
  if (!isComplete) return {};
  return damageMeanwhile;
}

void FrameComposer::copyChanged(const RowSet& rows) {
  const RowSet altered = copy->scaler.sourceChanged(copy->image, rows);
  pool.markStale(fullRows(altered, frameSize.width));
  for (const RowRange& range : altered.ranges()) tracker.markDamaged(range);
}

void FrameComposer::drawCursor(const std::optional<CursorPlacement>& cursor,
                               SurfacePool::Surface& surface) {
  if (!cursor) return;
  surface.underCursor.save(surface.image, intersectionOf(cursor->area, wholeOf(frameSize)));
  blendCursor(*cursor->image, cursor->area, surface.image);
}

void FrameComposer::markCursor(const std::optional<CursorPlacement>& cursor) {
  if (cursor == drawnCursor) return;
  if (drawnCursor) tracker.markDamaged(drawnCursor->area);
  if (cursor) tracker.markDamaged(cursor->area);
  drawnCursor = cursor;
}

void FrameComposer::markDamaged(const std::vector<PixelRect>& parts) {
  for (const PixelRect& part : parts) tracker.markDamaged(part);
}

}  // namespace quorvin
