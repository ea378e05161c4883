#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"

namespace quorvin {

// What the pointer looks like: pixels with colours already multiplied by the alpha in the highest
// byte, rows from top to bottom.
struct CursorImage {
  PixelSize size;
  int hotSpotX = 0;  // the pixel that points
  int hotSpotY = 0;
  std::vector<std::uint32_t> pixels;
};

// The cursor as it looks on a frame that shows a display of `display` pixels.
[[nodiscard]] CursorImage scaledCursor(const CursorImage& cursor, PixelSize display,
                                       PixelSize frame);

// Where the cursor lies on a frame when its hot spot is at this pixel; not clipped.
[[nodiscard]] PixelRect cursorArea(const CursorImage& cursor, int x, int y);

// Draws the part of the cursor that lies on the frame.
void blendCursor(const CursorImage& cursor, const PixelRect& area, PixelImage& frame);

// A cursor in the size and at the place in which it is to be drawn on a frame.
struct CursorPlacement {
  std::shared_ptr<const CursorImage> image;
  PixelRect area;

  friend bool operator==(const CursorPlacement&, const CursorPlacement&) = default;
};

// Works out where the cursor of a display appears on its frame. Keeps the scaled cursor, so that
// two placements are equal exactly when they look the same. One thread at a time.
class CursorPlacer {
 public:
  CursorPlacer(PixelSize display, PixelSize frame) : display(display), frame(frame) {}

  [[nodiscard]] bool serves(PixelSize ofDisplay, PixelSize ofFrame) const {
    return ofDisplay == display && ofFrame == frame;
  }

  // The hot spot is at this pixel of the display. Empty when no part of the cursor is visible.
  [[nodiscard]] std::optional<CursorPlacement> place(
      const std::shared_ptr<const CursorImage>& cursor, int x, int y);

 private:
  PixelSize display;
  PixelSize frame;
  std::shared_ptr<const CursorImage> original;
  std::shared_ptr<const CursorImage> fitted;
};

// What a frame showed where the cursor was drawn over it. To restore it is cheaper than to fetch or
// scale it again, and brings nothing newer than the rest of the frame. One thread at a time.
class SaveUnder {
 public:
  // Remembers this area, which lies on the frame; may be empty.
  void save(const PixelImage& frame, const PixelRect& area);
  // Restores what was saved last, once.
  void restore(PixelImage& frame);

 private:
  PixelRect area;
  std::vector<std::uint8_t> pixels;  // rows from the top, without gaps
};

}  // namespace quorvin
