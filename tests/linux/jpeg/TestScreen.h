#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/frame/DamageHistory.h"
#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

using TestFrame = std::shared_ptr<const CapturedFrame>;

// A screen whose frames lie in one and the same memory, as those of a stream come to do, and that
// keeps a truthful history of their rows.
class TestScreen {
 public:
  explicit TestScreen(PixelSize size) { resize(size); }

  // A new series of frames; the screen is black.
  void resize(PixelSize newSize);
  // A new series of frames of what is there.
  void restartSeries() { tracker.restart(extent); }

  // Each marks what it draws on.
  void fillRows(RowRange rows, std::uint32_t colour);
  void drawNoise(RowRange rows, std::mt19937& random);
  void drawDesktop(RowRange rows, std::uint32_t seed);
  void fill(const PixelRect& area, std::uint32_t colour);
  // Says that something changed that did not.
  void markUnchanged(RowRange rows) { tracker.markDamaged(rows); }
  void markUnchanged(const PixelRect& area) { tracker.markDamaged(area); }

  // Says nothing of rows that did.
  void changeSecretly(RowRange rows, std::uint32_t colour);

  // Of what is there now; valid until something is drawn.
  [[nodiscard]] TestFrame nextFrame();
  // The same with memory of its own.
  [[nodiscard]] TestFrame nextFrameCopied();
  // Of what is there now, with nothing known of its rows.
  [[nodiscard]] TestFrame frameWithoutHistory() const;

  [[nodiscard]] PixelSize size() const { return extent; }

 private:
  [[nodiscard]] std::uint32_t* row(int y);

  PixelSize extent;
  std::vector<std::uint32_t> pixels;
  DamageTracker tracker;
};

}  // namespace quorvin
