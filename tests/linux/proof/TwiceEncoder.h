#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/ImageEncoder.h"
#include "tests/linux/proof/RandomSource.h"

namespace quorvin {

// The pixels of one frame, as 0xRRGGBB.
struct FramePixels {
  PixelSize size;
  std::vector<std::uint32_t> pixels;

  friend bool operator==(const FramePixels&, const FramePixels&) = default;
};

// Encodes frames of a stream with the one context that it keeps, which may remember what it
// likes, and with another one that has never seen any, and complains when the two files differ. Any
// thread, except that samples come on one queue.
class TwiceEncoder final : public StreamOutput {
 public:
  explicit TwiceEncoder(std::uint64_t seed) : random(seed) {}

  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override;

  // Percent.
  void setQuality(int percent);
  // So many of a hundred frames are looked at by nobody.
  void setDropped(int percent);
  // So many frames are kept, which takes their memory from the stream for a while.
  void setHeld(std::size_t count);

  // Whether the condition holds of the newest frame, sooner or later.
  [[nodiscard]] bool waitFor(const std::function<bool(const FramePixels&)>& condition);
  // Whether there are more frames than that, sooner or later.
  [[nodiscard]] bool waitForMoreThan(std::size_t frames);

  struct Counts {
    std::size_t frames = 0;
    std::size_t encoded = 0;
    // Of those, the ones of which some rows were known to be as in the one encoded before.
    std::size_t partlyKnown = 0;
  };
  [[nodiscard]] Counts counts();
  // Of the first frame that came out differently; empty if there was none.
  [[nodiscard]] std::string complaint();
  [[nodiscard]] FramePixels newestFrame();

 private:
  void encodeTwice(const CapturedFrame& frame, int quality);
  void complain(const std::string& what);
  [[nodiscard]] bool isPartlyKnown(const CapturedFrame& frame);

  LinuxImageEncoder encoder;
  std::unique_ptr<ImageContext> longLived = encoder.makeContext(false);
  RandomSource random;
  std::shared_ptr<const DamageHistory> lastEncoded;

  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  int qualityPercent = 72;
  int droppedPercent = 0;
  std::size_t heldMax = 0;
  std::deque<std::shared_ptr<PixelBuffer>> held;
  FramePixels newest;
  Counts counted;
  std::string firstComplaint;
};

}  // namespace quorvin
