#include "tests/linux/proof/TwiceEncoder.h"

#include <algorithm>
#include <cstring>

#include "tests/linux/capture/SampleRecorder.h"

namespace quorvin {

namespace {

FramePixels copyOf(const CapturedFrame& frame) {
  FramePixels copy{{static_cast<int>(frame.widthPx()), static_cast<int>(frame.heightPx())}, {}};
  copy.pixels.resize(frame.widthPx() * frame.heightPx());
  for (std::size_t row = 0; row < frame.heightPx(); ++row) {
    std::memcpy(&copy.pixels[row * frame.widthPx()], frame.data() + row * frame.strideBytes(),
                frame.widthPx() * sizeof(std::uint32_t));
  }
  // The highest byte is whatever the server left there.
  for (auto& pixel : copy.pixels) pixel &= 0xffffff;
  return copy;
}

}  // namespace

void TwiceEncoder::streamDidOutputSample(const CaptureSample& sample, StreamOutputType /*type*/) {
  const auto buffer = sample.imageBuffer();
  const auto* frame = dynamic_cast<const CapturedFrame*>(buffer.get());
  if (frame == nullptr) return;
  int quality = 0;
  bool isDropped = false;
  {
    const std::scoped_lock lock(mutex);
    quality = qualityPercent;
    isDropped = random.between(1, 100) <= droppedPercent;
  }
  if (!isDropped) encodeTwice(*frame, quality);
  auto copy = copyOf(*frame);
  const std::scoped_lock lock(mutex);
  newest = std::move(copy);
  ++counted.frames;
  held.push_back(buffer);
  while (held.size() > heldMax) held.pop_front();
  changed.notify_all();
}

void TwiceEncoder::encodeTwice(const CapturedFrame& frame, int quality) {
  const double factor = quality / 100.0;
  const auto kept = longLived->jpegRepresentation(frame, factor);
  const auto fresh = encoder.makeContext(false)->jpegRepresentation(frame, factor);
  const bool isKnown = isPartlyKnown(frame);
  lastEncoded = frame.damageHistory();
  const std::scoped_lock lock(mutex);
  ++counted.encoded;
  if (isKnown) ++counted.partlyKnown;
  if (!kept || !fresh) return complain("was not encoded");
  if (!std::ranges::equal(kept->bytes(), fresh->bytes())) complain("holds something old");
}

bool TwiceEncoder::isPartlyKnown(const CapturedFrame& frame) {
  const auto history = frame.damageHistory();
  if (!history || !lastEncoded) return false;
  for (int row = 0; row < static_cast<int>(frame.heightPx()); ++row) {
    if (!history->changedSince(*lastEncoded, {row, row + 1})) return true;
  }
  return false;
}

void TwiceEncoder::complain(const std::string& what) {
  if (!firstComplaint.empty()) return;
  firstComplaint = "frame " + std::to_string(counted.frames + 1) + " " + what;
}

void TwiceEncoder::setQuality(int percent) {
  const std::scoped_lock lock(mutex);
  qualityPercent = percent;
}

void TwiceEncoder::setDropped(int percent) {
  const std::scoped_lock lock(mutex);
  droppedPercent = percent;
}

void TwiceEncoder::setHeld(std::size_t count) {
  const std::scoped_lock lock(mutex);
  heldMax = count;
  while (held.size() > heldMax) held.pop_front();
}

bool TwiceEncoder::waitFor(const std::function<bool(const FramePixels&)>& condition) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, testTimeout, [&] { return condition(newest); });
}

bool TwiceEncoder::waitForMoreThan(std::size_t frames) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, testTimeout, [&] { return counted.frames > frames; });
}

TwiceEncoder::Counts TwiceEncoder::counts() {
  const std::scoped_lock lock(mutex);
  return counted;
}

std::string TwiceEncoder::complaint() {
  const std::scoped_lock lock(mutex);
  return firstComplaint;
}

FramePixels TwiceEncoder::newestFrame() {
  const std::scoped_lock lock(mutex);
  return newest;
}

}  // namespace quorvin
