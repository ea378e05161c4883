#pragma once

#include <vector>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// Makes frames of one size out of a display's pixels. Interpolation alone would skip pixels when
// it shrinks by more than a half, and with them strokes of text; so the display is first halved by
// averaging, as often as that leaves it larger than the frame. The halved images are kept, so
// that a small change costs little. Always works on full rows, since libyuv rounds differently at
// the end of what it draws. One thread at a time.
class PixelScaler {
 public:
  PixelScaler(PixelSize source, PixelSize frame);

  // Tells that these rows of the source have changed. Returns the rows of a frame that this may
  // alter; all others keep their very bytes.
  [[nodiscard]] RowSet sourceChanged(const PixelImage& source, const RowSet& rows);

  // Brings these rows of the frame up to date. Others that it draws as well do not change if they
  // are up to date.
  void draw(const PixelImage& source, const RowSet& rows, PixelImage& frame) const;

 private:
  void drawRows(const PixelImage& from, RowRange rows, PixelImage& frame) const;
  [[nodiscard]] RowRange frameRows(RowRange rows) const;
  [[nodiscard]] const PixelImage& lastStep(const PixelImage& source) const;
  [[nodiscard]] bool canDrawRows() const;

  PixelSize sourceSize;
  PixelSize frameSize;
  std::vector<PixelImage> halved;  // each half the size of the one before
};

}  // namespace quorvin
