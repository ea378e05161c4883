#pragma once

#include <memory>
#include <optional>

#include "platform/linux/capture/CursorPlacer.h"
#include "platform/linux/capture/PixelScaler.h"
#include "platform/linux/capture/SurfacePool.h"
#include "platform/linux/capture/X11ScreenReader.h"

namespace quorvin {

// Turns what is on a display into pictures, touching no more pixels than have changed. A picture
// of the display's own size is read straight into its surface; otherwise, or when changes must be
// found by comparing, a copy of the display stands in between. Used by the capturing thread.
class FrameComposer {
 public:
  // `comparing` when nobody tells what changed. The reader must outlive the composer.
  FrameComposer(X11ScreenReader& reader, bool comparing, std::shared_ptr<CaptureWakeup> wakeup);

  // To be called before anything else, and again whenever one of them changes.
  void configure(PixelSize display, PixelSize picture, std::size_t depth);

  // True when there is a surface for the next picture.
  [[nodiscard]] bool canCompose() const { return pool.hasFree(); }
  // Tells which pixels of the display are no longer what they were.
  void screenChanged(const PixelRegion& region);
  // Compares the display with the copy and tells whether it differs; empty when it cannot be read.
  // Only if comparing.
  [[nodiscard]] std::optional<bool> findChanges();
  // The display as it is now, with the cursor on it. Null when the display cannot be read.
  [[nodiscard]] std::shared_ptr<CapturedPixelBuffer> compose(
      const std::optional<CursorPlacement>& cursor);

 private:
  // The copy of the display and what is made from it.
  struct Copy {
    PixelImage image;
    PixelRegion stale;
    PixelScaler scaler;
  };

  void makeCopy();
  [[nodiscard]] bool draw(SurfacePool::Surface& surface);
  [[nodiscard]] bool refreshCopy();

  X11ScreenReader& reader;
  bool comparing;
  SurfacePool pool;
  PixelSize display;
  PixelSize picture;
  std::optional<Copy> copy;
};

}  // namespace quorvin
