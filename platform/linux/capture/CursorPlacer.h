#pragma once

#include <memory>
#include <optional>

#include "platform/linux/capture/CursorOverlay.h"

namespace quorvin {

// A cursor in the size and at the place in which it is to be drawn on a picture.
struct CursorPlacement {
  std::shared_ptr<const CursorImage> image;
  PixelRect area;

  friend bool operator==(const CursorPlacement&, const CursorPlacement&) = default;
};

// Works out where the cursor of a display appears on its picture. Keeps the scaled cursor, so that
// two placements are equal exactly when they look the same. One thread at a time.
class CursorPlacer {
 public:
  CursorPlacer(PixelSize display, PixelSize picture) : display(display), picture(picture) {}

  [[nodiscard]] bool serves(PixelSize ofDisplay, PixelSize ofPicture) const {
    return ofDisplay == display && ofPicture == picture;
  }

  // The hot spot is at this pixel of the display. Empty when no part of the cursor is visible.
  [[nodiscard]] std::optional<CursorPlacement> place(
      const std::shared_ptr<const CursorImage>& cursor, int x, int y);

 private:
  PixelSize display;
  PixelSize picture;
  std::shared_ptr<const CursorImage> original;
  std::shared_ptr<const CursorImage> fitted;
};

}  // namespace quorvin
