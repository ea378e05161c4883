#include "platform/linux/capture/FrameComposer.h"

namespace quorvin {

FrameComposer::FrameComposer(X11ScreenReader& reader, bool comparing,
                             std::shared_ptr<CaptureWakeup> wakeup)
    : reader(reader),
      comparing(comparing),
      pool([&reader](PixelSize size) { return reader.makeImage(size); }, std::move(wakeup)) {}

void FrameComposer::configure(PixelSize newDisplay, PixelSize newPicture, std::size_t depth) {
  pool.configure(newPicture, depth);
  if (newDisplay == display && newPicture == picture) return;
  display = newDisplay;
  picture = newPicture;
  copy.reset();
  if (comparing || display != picture) makeCopy();
  pool.markStale(PixelRegion(wholeOf(picture)));
}

void FrameComposer::makeCopy() {
  copy.emplace(Copy{reader.makeImage(display), PixelRegion(wholeOf(display)),
                    PixelScaler(display, picture)});
}

void FrameComposer::screenChanged(const PixelRegion& region) {
  if (copy) {
    copy->stale.add(region);
  } else {
    pool.markStale(region);
  }
}

std::optional<bool> FrameComposer::findChanges() {
  const auto changes = reader.readChanges(copy->image);
  if (!changes) return {};
  copy->stale.clear();
  pool.markStale(copy->scaler.sourceChanged(copy->image, *changes));
  return !changes->isEmpty();
}

std::shared_ptr<CapturedPixelBuffer> FrameComposer::compose(
    const std::optional<CursorPlacement>& cursor) {
  SurfacePool::Surface& surface = pool.mostRecentFree();
  if (!draw(surface)) return {};
  surface.stale.clear();
  if (cursor) {
    blendCursor(*cursor->image, cursor->area, surface.image);
    surface.stale.add(intersectionOf(cursor->area, wholeOf(picture)));
  }
  return pool.lend(surface);
}

bool FrameComposer::draw(SurfacePool::Surface& surface) {
  if (!copy) return reader.read(surface.stale, surface.image);
  if (!refreshCopy()) return false;
  copy->scaler.draw(copy->image, surface.stale, surface.image);
  return true;
}

bool FrameComposer::refreshCopy() {
  if (copy->stale.isEmpty()) return true;
  if (!reader.read(copy->stale, copy->image)) return false;
  pool.markStale(copy->scaler.sourceChanged(copy->image, copy->stale));
  copy->stale.clear();
  return true;
}

}  // namespace quorvin
