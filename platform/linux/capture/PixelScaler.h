#pragma once

#include <vector>

#include "platform/linux/capture/PixelImage.h"

namespace quorvin {

// Makes pictures of one size out of a display's pixels. Interpolation alone would skip pixels when
// it shrinks by more than a half, and with them strokes of text; so the display is first halved by
// averaging, as often as that leaves it larger than the picture. The halved images are kept, so
// that a small change costs little. One thread at a time.
class PixelScaler {
 public:
  PixelScaler(PixelSize source, PixelSize picture);

  // Tells that `region` of the source has changed. Returns the part of a picture that this alters.
  [[nodiscard]] PixelRegion sourceChanged(const PixelImage& source, const PixelRegion& region);

  // Brings `region` of the picture up to date, and maybe pixels beside it.
  void draw(const PixelImage& source, const PixelRegion& region, PixelImage& picture) const;

 private:
  [[nodiscard]] PixelRect pictureArea(const PixelRect& sourceArea) const;
  [[nodiscard]] const PixelImage& lastStep(const PixelImage& source) const;
  [[nodiscard]] bool canDrawRows() const;

  PixelSize sourceSize;
  PixelSize pictureSize;
  std::vector<PixelImage> halved;  // each half the size of the one before
};

}  // namespace quorvin
