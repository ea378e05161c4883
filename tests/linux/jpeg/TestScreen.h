#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "platform/linux/frame/CapturedPixelBuffer.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/frame/RowHistory.h"

namespace quorvin {

using TestPicture = std::shared_ptr<const CapturedPixelBuffer>;

// A screen whose pictures lie in one and the same memory, as those of a stream come to do, and that
// keeps a truthful history of their rows.
class TestScreen {
 public:
  explicit TestScreen(PixelSize size) { resize(size); }

  // A new series of pictures; the screen is black.
  void resize(PixelSize newSize);
  // A new series of pictures of what is there.
  void restartSeries() { tracker.restart(extent); }

  // Each marks what it draws on.
  void fillRows(RowRange rows, std::uint32_t colour);
  void drawNoise(RowRange rows, std::mt19937& random);
  void drawDesktop(RowRange rows, std::uint32_t seed);
  void fill(const PixelRect& area, std::uint32_t colour);
  // Says that something changed that did not.
  void markUnchanged(RowRange rows) { tracker.markChanged(rows); }
  void markUnchanged(const PixelRect& area) { tracker.markChanged(area); }

  // Says nothing of rows that did.
  void changeSecretly(RowRange rows, std::uint32_t colour);

  // Of what is there now; valid until something is drawn.
  [[nodiscard]] TestPicture nextPicture();
  // The same with memory of its own.
  [[nodiscard]] TestPicture nextPictureCopied();
  // Of what is there now, with nothing known of its rows.
  [[nodiscard]] TestPicture pictureWithoutHistory() const;

  [[nodiscard]] PixelSize size() const { return extent; }

 private:
  [[nodiscard]] std::uint32_t* row(int y);

  PixelSize extent;
  std::vector<std::uint32_t> pixels;
  RowTracker tracker;
};

}  // namespace quorvin
