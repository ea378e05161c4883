#include "tests/linux/proof/TwiceEncoder.h"

#include <algorithm>
#include <cstring>

#include "tests/linux/capture/SampleRecorder.h"

namespace quorvin {

namespace {

PicturePixels copyOf(const CapturedPixelBuffer& picture) {
  PicturePixels copy{{static_cast<int>(picture.widthPx()), static_cast<int>(picture.heightPx())},
                     {}};
  copy.pixels.resize(picture.widthPx() * picture.heightPx());
  for (std::size_t row = 0; row < picture.heightPx(); ++row) {
    std::memcpy(&copy.pixels[row * picture.widthPx()], picture.data() + row * picture.strideBytes(),
                picture.widthPx() * sizeof(std::uint32_t));
  }
  // The highest byte is whatever the server left there.
  for (auto& pixel : copy.pixels) pixel &= 0xffffff;
  return copy;
}

}  // namespace

void TwiceEncoder::streamDidOutputSample(const CaptureSample& sample, StreamOutputType /*type*/) {
  const auto buffer = sample.imageBuffer();
  const auto* picture = dynamic_cast<const CapturedPixelBuffer*>(buffer.get());
  if (picture == nullptr) return;
  int quality = 0;
  bool isDropped = false;
  {
    const std::scoped_lock lock(mutex);
    quality = qualityPercent;
    isDropped = dice.between(1, 100) <= droppedPercent;
  }
  if (!isDropped) encodeTwice(*picture, quality);
  auto copy = copyOf(*picture);
  const std::scoped_lock lock(mutex);
  newest = std::move(copy);
  ++counted.pictures;
  held.push_back(buffer);
  while (held.size() > heldMax) held.pop_front();
  changed.notify_all();
}

void TwiceEncoder::encodeTwice(const CapturedPixelBuffer& picture, int quality) {
  const double factor = quality / 100.0;
  const auto kept = longLived->jpegRepresentation(picture, factor);
  const auto fresh = encoder.makeContext(false)->jpegRepresentation(picture, factor);
  const bool isKnown = isPartlyKnown(picture);
  lastEncoded = picture.rowHistory();
  const std::scoped_lock lock(mutex);
  ++counted.encoded;
  if (isKnown) ++counted.partlyKnown;
  if (!kept || !fresh) return complain("was not encoded");
  if (!std::ranges::equal(kept->bytes(), fresh->bytes())) complain("holds something old");
}

bool TwiceEncoder::isPartlyKnown(const CapturedPixelBuffer& picture) {
  const auto history = picture.rowHistory();
  if (!history || !lastEncoded) return false;
  for (int row = 0; row < static_cast<int>(picture.heightPx()); ++row) {
    if (!history->changedSince(*lastEncoded, {row, row + 1})) return true;
  }
  return false;
}

void TwiceEncoder::complain(const std::string& what) {
  if (!firstComplaint.empty()) return;
  firstComplaint = "picture " + std::to_string(counted.pictures + 1) + " " + what;
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

bool TwiceEncoder::waitFor(const std::function<bool(const PicturePixels&)>& condition) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, testPatience, [&] { return condition(newest); });
}

bool TwiceEncoder::waitForMoreThan(std::size_t pictures) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, testPatience, [&] { return counted.pictures > pictures; });
}

TwiceEncoder::Counts TwiceEncoder::counts() {
  const std::scoped_lock lock(mutex);
  return counted;
}

std::string TwiceEncoder::complaint() {
  const std::scoped_lock lock(mutex);
  return firstComplaint;
}

PicturePixels TwiceEncoder::newestPicture() {
  const std::scoped_lock lock(mutex);
  return newest;
}

}  // namespace quorvin
