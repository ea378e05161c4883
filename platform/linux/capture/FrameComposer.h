#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/capture/CursorOverlay.h"
#include "platform/linux/capture/PixelScaler.h"
#include "platform/linux/capture/ScreenChanges.h"
#include "platform/linux/capture/X11ScreenReader.h"
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

// Turns what is on a display into frames, touching no more pixels than have changed. A frame of the
// display's own size is read straight into its surface. Otherwise, or when changes must be found by
// comparing, a copy of the display stands in between. Each frame carries its damage history: a row
// without damage has the bytes of the frame before, but for the undefined ones. Used by the
// capturing thread.
//
// Damage takes one way: the server names it, `pending` holds it until the next frame, and the pool
// then hands it to that frame's history and to the surfaces that are to show it later.
class FrameComposer {
 public:
  // Without `damage`, when nobody tells what changed, the display is compared with its copy. The
  // reader and the monitor must outlive the composer.
  FrameComposer(X11ScreenReader& reader, X11DamageMonitor* damage, std::shared_ptr<EventFd> wakeup);

  // To be called before anything else, and again whenever one of them changes. `display` is its
  // area of the root window.
  void configure(const PixelRect& display, PixelSize frameSize, std::size_t depth);
  // For when all that is known of the display has become worthless.
  void startOver() { pending = Damage(wholeOf(display.size())); }

  // True when there is a surface for the next frame.
  [[nodiscard]] bool canCompose() const { return pool.hasFree(); }
  // True when the display may differ from the last frame, as far as one knows without asking.
  [[nodiscard]] bool isPending() const {
    return !pending.isEmpty() || (damage && damage->isPending());
  }
  // Requests the damage if an event reported any, and the pixels that it probably covers, without
  // waiting. `findDamage` must follow; it makes the request if nobody has.
  void requestDamage();
  // Waits for the damage, which the next frame will show; false if there is none.
  [[nodiscard]] bool findDamage();
  // The display as it is now, with the cursor on it. Null when the display cannot be read.
  [[nodiscard]] std::shared_ptr<CapturedFrame> compose(
      const std::optional<CursorPlacement>& cursor);

 private:
  // The copy of the display and what is made from it.
  struct Copy {
    PixelImage image;
    PixelScaler scaler;
  };

  // Pixels that were asked for together with what changed.
  struct Fetch {
    SurfacePool::Surface* surface;  // null when they go into the copy
    PixelRegion region;
    std::optional<bool> isThere = {};  // once it is known
    Damage damageMeanwhile = {};       // since the request that went with it
  };

  void requestPixels(const PixelRect& reported);
  void finishFetch();
  void dropFetch();
  void compare();
  [[nodiscard]] SurfacePool::Surface& takeSurface();
  // Each brings its image up to date, and returns the damage since the last reply, or nothing if
  // the display cannot be read.
  [[nodiscard]] std::optional<Damage> draw(SurfacePool::Surface& surface);
  [[nodiscard]] std::optional<Damage> scaleCopy(SurfacePool::Surface& surface);
  [[nodiscard]] std::optional<Damage> read(const PixelRegion& region, PixelImage& target);
  void drawCursor(const std::optional<CursorPlacement>& cursor, SurfacePool::Surface& surface);
  void markCursor(const std::optional<CursorPlacement>& cursor);

  X11ScreenReader& reader;
  X11DamageMonitor* damage;
  SurfacePool pool;
  PixelRect display;
  PixelSize frameSize;
  std::optional<Copy> copy;
  std::optional<Fetch> fetch;
  Damage pending;                              // since the last frame, as far as is known
  std::optional<CursorPlacement> drawnCursor;  // of the last frame
};

}  // namespace quorvin
