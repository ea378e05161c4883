#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/frame/CapturedPixelBuffer.h"
#include "platform/linux/jpeg/ImageEncoder.h"
#include "tests/linux/proof/Dice.h"

namespace quorvin {

// The pixels of one picture, as 0xRRGGBB.
struct PicturePixels {
  PixelSize size;
  std::vector<std::uint32_t> pixels;

  friend bool operator==(const PicturePixels&, const PicturePixels&) = default;
};

// Encodes pictures of a stream with the one context that it keeps, which may remember what it
// likes, and with another one that has never seen any, and complains when the two files differ. Any
// thread, except that samples come on one queue.
class TwiceEncoder final : public StreamOutput {
 public:
  explicit TwiceEncoder(std::uint64_t seed) : dice(seed) {}

  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override;

  // Percent.
  void setQuality(int percent);
  // So many of a hundred pictures are looked at by nobody.
  void setDropped(int percent);
  // So many pictures are kept, which takes their memory from the stream for a while.
  void setHeld(std::size_t count);

  // Whether the condition holds of the newest picture, sooner or later.
  [[nodiscard]] bool waitFor(const std::function<bool(const PicturePixels&)>& condition);
  // Whether there are more pictures than that, sooner or later.
  [[nodiscard]] bool waitForMoreThan(std::size_t pictures);

  struct Counts {
    std::size_t pictures = 0;
    std::size_t encoded = 0;
    // Of those, the ones of which some rows were known to be as in the one encoded before.
    std::size_t partlyKnown = 0;
  };
  [[nodiscard]] Counts counts();
  // Of the first picture that came out differently; empty if there was none.
  [[nodiscard]] std::string complaint();
  [[nodiscard]] PicturePixels newestPicture();

 private:
  void encodeTwice(const CapturedPixelBuffer& picture, int quality);
  void complain(const std::string& what);
  [[nodiscard]] bool isPartlyKnown(const CapturedPixelBuffer& picture);

  LinuxImageEncoder encoder;
  std::unique_ptr<ImageContext> longLived = encoder.makeContext(false);
  Dice dice;
  std::shared_ptr<const RowHistory> lastEncoded;

  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  int qualityPercent = 72;
  int droppedPercent = 0;
  std::size_t heldMax = 0;
  std::deque<std::shared_ptr<PixelBuffer>> held;
  PicturePixels newest;
  Counts counted;
  std::string firstComplaint;
};

}  // namespace quorvin
