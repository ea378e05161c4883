#include "tests/linux/jpeg/TestScreen.h"

#include <algorithm>

#include "bench/Desktop.h"

namespace quorvin {

namespace {

std::size_t pixelCount(PixelSize size) {
  return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

std::shared_ptr<CapturedFrame> frameOf(std::shared_ptr<const void> owner,
                                       const std::uint32_t* pixels, PixelSize size) {
  return std::make_shared<CapturedFrame>(
      std::move(owner), reinterpret_cast<const std::uint8_t*>(pixels),
      static_cast<std::size_t>(size.width), static_cast<std::size_t>(size.height),
      static_cast<std::size_t>(size.width) * sizeof *pixels);
}

}  // namespace

void TestScreen::resize(PixelSize newSize) {
  extent = newSize;
  pixels.assign(pixelCount(extent), 0);
  restartSeries();
}

void TestScreen::changeSecretly(RowRange rows, std::uint32_t colour) {
  std::fill(row(rows.first), row(rows.end), colour);
}

void TestScreen::fillRows(RowRange rows, std::uint32_t colour) {
  changeSecretly(rows, colour);
  tracker.markDamaged(rows);
}

void TestScreen::drawNoise(RowRange rows, std::mt19937& random) {
  std::generate(row(rows.first), row(rows.end),
                [&random] { return static_cast<std::uint32_t>(random()); });
  tracker.markDamaged(rows);
}

void TestScreen::drawDesktop(RowRange rows, std::uint32_t seed) {
  const auto desktop = desktopImage(extent.width, extent.height, seed);
  const auto from = desktop.begin() + (row(rows.first) - pixels.data());
  std::copy(from, from + (row(rows.end) - row(rows.first)), row(rows.first));
  tracker.markDamaged(rows);
}

void TestScreen::fill(const PixelRect& area, std::uint32_t colour) {
  for (int y = area.y; y < area.bottom(); ++y) std::fill_n(row(y) + area.x, area.width, colour);
  tracker.markDamaged(area);
}

TestFrame TestScreen::nextFrame() {
  auto frame = frameOf(nullptr, pixels.data(), extent);
  frame->setDamageHistory(tracker.nextFrame());
  return frame;
}

TestFrame TestScreen::nextFrameCopied() {
  const auto copy = std::make_shared<const std::vector<std::uint32_t>>(pixels);
  auto frame = frameOf(copy, copy->data(), extent);
  frame->setDamageHistory(tracker.nextFrame());
  return frame;
}

TestFrame TestScreen::frameWithoutHistory() const {
  return frameOf(nullptr, pixels.data(), extent);
}

std::uint32_t* TestScreen::row(int y) {
  return pixels.data() + static_cast<std::ptrdiff_t>(y) * extent.width;
}

}  // namespace quorvin
