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

void FrameComposer::configure(const PixelRect& newDisplay, PixelSize newPicture,
                              std::size_t depth) {
  dropFetch();
  pool.configure(newPicture, depth);
  if (newDisplay == display && newPicture == picture) return;
  display = newDisplay;
  picture = newPicture;
  reader.setOrigin(display.x, display.y);
  copy.reset();
  if (damage == nullptr || display.size() != picture) {
    copy.emplace(Copy{reader.makeImage(display.size()), {}, PixelScaler(display.size(), picture)});
  }
  startOver();
}

void FrameComposer::startOver() {
  if (copy) copy->stale.add(wholeOf(display.size()));
  pool.markStale(PixelRegion(wholeOf(picture)));
  tracker.restart(picture);
  outOfDate = true;
}

void FrameComposer::askForChanges() {
  if (damage == nullptr || !damage->isPending()) return;
  dropFetch();
  const PixelRect reported =
      intersectionOf(damage->reportedArea(), display).movedBy(-display.x, -display.y);
  damage->ask();
  if (!reported.isEmpty() && canCompose()) askForPixels(reported);
}

// Most changes are a single one, which the server has reported where it is. So its pixels are asked
// for together with what has changed, and no second round trip is needed for them.
void FrameComposer::askForPixels(const PixelRect& reported) {
  fetch.emplace(Fetch{copy ? nullptr : &pool.mostRecentFree(), {}});
  if (fetch->surface != nullptr) fetch->surface->underCursor.putBack(fetch->surface->image);
  fetch->region = fetch->surface != nullptr ? fetch->surface->stale : copy->stale.region;
  fetch->region.add(reported);
  reader.ask(fetch->region, fetch->surface != nullptr ? fetch->surface->image : copy->image);
  damage->ask();
}

bool FrameComposer::findChanges() {
  if (damage == nullptr) {
    compare();
  } else {
    askForChanges();
    noteChanges(damage->answer(display));
    finishFetch();
  }
  return outOfDate;
}

void FrameComposer::finishFetch() {
  if (!fetch || fetch->isThere) return;
  fetch->isThere = reader.finish();
  fetch->changesMeanwhile = damage->answer(display);
  // There is no picture to come for which it could be of use.
  if (!outOfDate) dropFetch();
}

void FrameComposer::dropFetch() {
  if (const auto dropped = std::exchange(fetch, {})) noteChanges(dropped->changesMeanwhile);
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

void FrameComposer::noteChanges(const ScreenChanges& changes) {
  if (changes.isEmpty()) return;
  outOfDate = true;
  if (copy) {
    copy->stale.region.add(changes.region);
    copy->stale.rows.add(changes.rows);
  } else {
    pool.markStale(changes.region);
    markChanged(changes.parts);
  }
}

std::shared_ptr<CapturedPixelBuffer> FrameComposer::compose(
    const std::optional<CursorPlacement>& cursor) {
  SurfacePool::Surface& surface = takeSurface();
  const auto changesMeanwhile = draw(surface);
  if (!changesMeanwhile) {
    startOver();
    return {};
  }
  surface.stale.clear();
  markCursor(cursor);
  drawCursor(cursor, surface);
  auto result = pool.lend(surface);
  result->setRowHistory(tracker.nextPicture());
  outOfDate = false;
  noteChanges(*changesMeanwhile);
  return result;
}

// Without the cursor.
SurfacePool::Surface& FrameComposer::takeSurface() {
  SurfacePool::Surface& surface =
      fetch && fetch->surface != nullptr ? *fetch->surface : pool.mostRecentFree();
  surface.underCursor.putBack(surface.image);
  return surface;
}

// Brings the surface up to date. As `read`.
std::optional<ScreenChanges> FrameComposer::draw(SurfacePool::Surface& surface) {
  if (copy) {
    auto changesMeanwhile = refreshCopy();
    if (!changesMeanwhile) return {};
    copy->scaler.draw(copy->image, rowsOf(surface.stale), surface.image);
    return changesMeanwhile;
  }
  auto changesMeanwhile = read(surface.stale, surface.image);
  if (changesMeanwhile) markChanged(changesMeanwhile->parts);
  return changesMeanwhile;
}

std::optional<ScreenChanges> FrameComposer::refreshCopy() {
  auto changesMeanwhile = read(copy->stale.region, copy->image);
  if (!changesMeanwhile) return {};
  copy->stale.rows.add(changesMeanwhile->rows);
  copyChanged(copy->stale.rows);
  copy->stale.clear();
  return changesMeanwhile;
}

// Brings the region up to date. Returns what changed on the display since the server was last
// asked, or nothing if the display cannot be read. The pixels may be newer than the last answer,
// also those that were fetched for other reasons than a change; so what changed meanwhile counts as
// changed in this picture. They may also still be older than that; so it counts again in the next
// one. All else has not changed between the first question and the last, so what was fetched of it
// is what any earlier picture shows: the server carries out one request after the other, and each
// drawing is noted as a change together with being carried out.
std::optional<ScreenChanges> FrameComposer::read(const PixelRegion& region, PixelImage& target) {
  const auto fetched = std::exchange(fetch, {});
  const PixelRegion rest =
      fetched && fetched->isThere == true ? without(region, fetched->region) : region;
  ScreenChanges changesMeanwhile;
  if (fetched) changesMeanwhile = fetched->changesMeanwhile;
  if (rest.isEmpty()) return changesMeanwhile;
  reader.ask(rest, target);
  if (damage != nullptr) damage->ask();
  const bool isComplete = reader.finish();
  if (damage != nullptr) changesMeanwhile.add(damage->answer(display));
  if (!isComplete) return {};
  return changesMeanwhile;
}

void FrameComposer::copyChanged(const RowSet& rows) {
  const RowSet altered = copy->scaler.sourceChanged(copy->image, rows);
  pool.markStale(fullRows(altered, picture.width));
  for (const RowRange& range : altered.ranges()) tracker.markChanged(range);
}

void FrameComposer::drawCursor(const std::optional<CursorPlacement>& cursor,
                               SurfacePool::Surface& surface) {
  if (!cursor) return;
  surface.underCursor.save(surface.image, intersectionOf(cursor->area, wholeOf(picture)));
  blendCursor(*cursor->image, cursor->area, surface.image);
}

void FrameComposer::markCursor(const std::optional<CursorPlacement>& cursor) {
  if (cursor == drawnCursor) return;
  if (drawnCursor) tracker.markChanged(drawnCursor->area);
  if (cursor) tracker.markChanged(cursor->area);
  drawnCursor = cursor;
}

void FrameComposer::markChanged(const std::vector<PixelRect>& parts) {
  for (const PixelRect& part : parts) tracker.markChanged(part);
}

}  // namespace quorvin
