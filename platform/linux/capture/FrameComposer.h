#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/capture/CursorOverlay.h"
#include "platform/linux/capture/PixelScaler.h"
#include "platform/linux/capture/SurfacePool.h"
#include "platform/linux/capture/X11DamageMonitor.h"
#include "platform/linux/capture/X11ScreenReader.h"
#include "platform/linux/frame/RowHistory.h"

namespace quorvin {

// Turns what is on a display into pictures, touching no more pixels than have changed. A picture
// of the display's own size is read straight into its surface; otherwise, or when changes must be
// found by comparing, a copy of the display stands in between. Each picture carries the history of
// its rows: one that did not change has the same pixels as in the picture before, byte for byte but
// for the undefined ones. Used by the capturing thread.
class FrameComposer {
 public:
  // Without `damage`, when nobody tells what changed, the display is compared with its copy. The
  // reader and the monitor must outlive the composer.
  FrameComposer(X11ScreenReader& reader, X11DamageMonitor* damage, std::shared_ptr<EventFd> wakeup);

  // To be called before anything else, and again whenever one of them changes. `display` is its
  // area of the root window.
  void configure(const PixelRect& display, PixelSize picture, std::size_t depth);
  // For when all that is known of the display has become worthless.
  void startOver();

  // True when there is a surface for the next picture.
  [[nodiscard]] bool canCompose() const { return pool.hasFree(); }
  // True when the display may differ from the last picture, as far as one knows without asking.
  [[nodiscard]] bool isPending() const { return outOfDate || (damage && damage->isPending()); }
  // Asks what has changed on the display, if that is to be asked, without waiting, and for the
  // pixels that probably have; `findChanges` does so too, and must follow.
  void askForChanges();
  // Finds out what has changed on the display, which the next picture will show; false if nothing.
  [[nodiscard]] bool findChanges();
  // The display as it is now, with the cursor on it. Null when the display cannot be read.
  [[nodiscard]] std::shared_ptr<CapturedPixelBuffer> compose(
      const std::optional<CursorPlacement>& cursor);

 private:
  // The copy of the display and what is made from it.
  struct Copy {
    PixelImage image;
    ScreenChanges stale;
    PixelScaler scaler;
  };

  // Pixels that were asked for together with what changed.
  struct Fetch {
    SurfacePool::Surface* surface;  // null when they go into the copy
    PixelRegion region;
    std::optional<bool> isThere = {};     // once it is known
    ScreenChanges changesMeanwhile = {};  // since the question that went with it
  };

  void askForPixels(const PixelRect& reported);
  void finishFetch();
  void dropFetch();
  [[nodiscard]] SurfacePool::Surface& takeSurface();
  void compare();
  void noteChanges(const ScreenChanges& changes);
  [[nodiscard]] std::optional<ScreenChanges> draw(SurfacePool::Surface& surface);
  [[nodiscard]] std::optional<ScreenChanges> refreshCopy();
  [[nodiscard]] std::optional<ScreenChanges> read(const PixelRegion& region, PixelImage& target);
  void copyChanged(const RowSet& rows);
  void drawCursor(const std::optional<CursorPlacement>& cursor, SurfacePool::Surface& surface);
  void markCursor(const std::optional<CursorPlacement>& cursor);
  void markChanged(const std::vector<PixelRect>& parts);

  X11ScreenReader& reader;
  X11DamageMonitor* damage;
  SurfacePool pool;
  RowTracker tracker;
  PixelRect display;
  PixelSize picture;
  std::optional<Copy> copy;
  std::optional<Fetch> fetch;
  std::optional<CursorPlacement> drawnCursor;  // of the last picture
  bool outOfDate = false;                      // the last picture, as far as is known
};

}  // namespace quorvin
