#include "platform/linux/capture/CursorPlacer.h"

#include <cmath>

namespace quorvin {

namespace {

int scaledDown(int position, int from, int to) {
  return static_cast<int>(std::floor(static_cast<double>(position) * to / from));
}

}  // namespace

std::optional<CursorPlacement> CursorPlacer::place(const std::shared_ptr<const CursorImage>& cursor,
                                                   int x, int y) {
  if (!cursor) return {};
  if (cursor != original) {
    original = cursor;
    fitted = std::make_shared<const CursorImage>(scaledCursor(*cursor, display, picture));
  }
  const PixelRect area = cursorArea(*fitted, scaledDown(x, display.width, picture.width),
                                    scaledDown(y, display.height, picture.height));
  if (intersectionOf(area, wholeOf(picture)).isEmpty()) return {};
  return CursorPlacement{fitted, area};
}

}  // namespace quorvin
