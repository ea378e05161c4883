#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/linux/video/VideoEncoder.h"
#include "platform/linux/video/YuvFrame.h"
#include "tests/linux/video/H264Decoder.h"
#include "tests/linux/video/TestFrames.h"

namespace quorvin {

// What came out for one frame.
struct EncoderOutput {
  EncoderStatus status = 0;
  bool hasSample = false;
  std::vector<std::uint8_t> data;
  std::vector<std::uint8_t> payload;  // with its parameter sets as an Annex-B byte stream

  [[nodiscard]] double bits() const { return 8.0 * static_cast<double>(payload.size()); }
};

// Writes down what comes out of a session.
class EncoderRecorder final : public CompressionOutput {
 public:
  void compressionDidOutput(EncoderStatus status, const EncodedSample* sample) override;

  // Runs at the end of each output, on the encoder's thread.
  void onOutput(std::function<void()> newAction) { action = std::move(newAction); }
  [[nodiscard]] std::vector<EncoderOutput> outputs();
  [[nodiscard]] std::vector<std::vector<std::uint8_t>> payloads();
  // False when so many did not come in time.
  [[nodiscard]] bool waitFor(std::size_t count);

 private:
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<EncoderOutput> recorded;
  std::function<void()> action;
};

// A session set up as for a shared screen, with what comes out of it.
struct EncoderHarness {
  explicit EncoderHarness(PixelSize size, std::int64_t bitRate = 7'000'000);

  // Puts the frame in at that time and waits for what comes of it.
  EncoderOutput encode(const std::shared_ptr<PixelBuffer>& frame, std::chrono::nanoseconds at);
  // As above, a thirtieth of a second after the one before.
  EncoderOutput encode(const std::shared_ptr<PixelBuffer>& frame);

  EncoderRecorder recorder;
  LinuxVideoEncoder encoder;
  std::unique_ptr<CompressionSession> session;
  std::chrono::nanoseconds now = std::chrono::hours(1);
};

// The frame as a perfect decoder would show it.
[[nodiscard]] DecodedFrame perfectlyDecoded(const CapturedFrame& frame);

}  // namespace quorvin
