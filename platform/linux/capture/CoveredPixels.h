#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/frame/PixelImage.h"

namespace quorvin {

// What a picture showed where something was drawn over it. Putting it back is cheaper than fetching
// or scaling it again, and brings nothing newer than the rest of the picture. One thread at a time.
class CoveredPixels {
 public:
  // Remembers this area, which lies on the picture; may be empty.
  void save(const PixelImage& picture, const PixelRect& area);
  // Restores what was saved last, once.
  void putBack(PixelImage& picture);

 private:
  PixelRect area;
  std::vector<std::uint8_t> pixels;  // rows from the top, without gaps
};

}  // namespace quorvin
