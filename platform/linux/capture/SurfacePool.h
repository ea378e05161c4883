#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/linux/capture/CursorOverlay.h"
#include "platform/linux/frame/CapturedFrame.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// The frames of a stream. Each is either free or lent out, and at most `depth` are lent at a
// time, those of an earlier size included. The pool keeps the stream's one record of damage: a
// surface remembers what was damaged since it was last drawn, and every frame takes its history
// along. Used by the capturing thread; what it lends may be released on any thread and may outlive
// the pool.
class SurfacePool {
 public:
  struct Surface {
    PixelImage image;
    PixelRegion stale;
    SaveUnder underCursor;
    std::uint64_t lastUse = 0;
    std::shared_ptr<std::atomic<bool>> lent;
  };

  // `makeImage` is called when a surface is needed that was never there; `wakeup` is signalled
  // when one comes back after there was none. At other times nobody waits for it, and rousing a
  // thread costs more than a small change of the screen does.
  SurfacePool(PixelImageFactory makeImage, std::shared_ptr<EventFd> wakeup);

  // Surfaces of another size are dropped, once they have come back, and their history ends.
  void configure(PixelSize size, std::size_t depth);

  // If there is none, the return of the next one is signalled.
  [[nodiscard]] bool hasFree() const;
  // The free surface that was used last, since it has the least stale pixels; made if need be.
  // Only if there is one. It stays free until it is lent, and is valid until the pool changes.
  [[nodiscard]] Surface& mostRecentFree();
  // The next frame differs from the last one in this, which becomes stale in every surface.
  void markDamaged(const Damage& damage);
  // The same of an area that the cursor covers, or no longer does: surfaces are kept without it.
  void markCursor(const PixelRect& area) { tracker.markDamaged(area); }
  // Makes the surface the next frame. All that was marked before counts as damage of this frame,
  // and the surface as drawn.
  [[nodiscard]] std::shared_ptr<CapturedFrame> lend(Surface& surface);

 private:
  [[nodiscard]] static bool isLent(const Surface& surface);
  [[nodiscard]] std::size_t countLent() const;
  Surface& makeSurface();

  PixelImageFactory makeImage;
  std::shared_ptr<EventFd> wakeup;
  std::shared_ptr<std::atomic<bool>> someoneWaits = std::make_shared<std::atomic<bool>>(false);
  PixelSize size;
  std::size_t depth = 0;
  DamageTracker tracker;
  std::vector<Surface> surfaces;
  std::vector<Surface> retired;  // of another size, still lent
  std::uint64_t uses = 0;
};

}  // namespace quorvin
