#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/frame/PixelImage.h"

namespace quorvin {

// What the pointer looks like: pixels with colours already multiplied by the alpha in the highest
// byte, rows from top to bottom.
struct CursorImage {
  PixelSize size;
  int hotSpotX = 0;  // the pixel that points
  int hotSpotY = 0;
  std::vector<std::uint32_t> pixels;
};

// The cursor as it looks on a picture that shows a display of `display` pixels.
[[nodiscard]] CursorImage scaledCursor(const CursorImage& cursor, PixelSize display,
                                       PixelSize picture);

// Where the cursor lies on a picture when its hot spot is at this pixel; not clipped.
[[nodiscard]] PixelRect cursorArea(const CursorImage& cursor, int x, int y);

// Draws the part of the cursor that lies on the picture.
void blendCursor(const CursorImage& cursor, const PixelRect& area, PixelImage& picture);

}  // namespace quorvin
