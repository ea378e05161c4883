#include <atomic>
#include <memory>
#include <semaphore>
#include <thread>

#include "Runner/QuorvinH264Encoder.h"
#include "platform/macos/ImageEncoder.h"
#include "platform/macos/VideoEncoder.h"
#import "tests/macos/facts/Fact.h"

namespace quorvin::facts {
namespace {

constexpr int runs = 10;
constexpr long longestMs = 33;

// Something like windows with text.
std::shared_ptr<PixelBuffer> makePicture() {
  return contract::makeMacFrame(pictureSize, [](std::size_t x, std::size_t y) {
    const std::uint8_t ink = x % 9 < 3 && y % 16 < 11 && x * y % 7 < 4 ? 40 : 250;
    return contract::Colour{ink, ink, static_cast<std::uint8_t>(y / 8)};
  });
}

// By the host's encoder, one frame after the other.
Outcome encodeVideo() {
  const auto caller = std::this_thread::get_id();
  std::counting_semaphore<> emitted(0);
  std::atomic<int> inside = 0;
  MacVideoEncoder videoEncoder;
  const auto encoder = std::make_shared<QuorvinH264Encoder>(
      videoEncoder, pictureSize.width, pictureSize.height, 30, 8, [&](const Data& /*payload*/) {
        inside += std::this_thread::get_id() == caller ? 1 : 0;
        emitted.release();
      });
  const auto picture = makePicture();
  const auto encode = [&](int first, int last) {
    const auto beginMs = nowMs();
    for (int run = first; run < last; ++run) {
      encoder->encode(picture, {run, 30});
      emitted.acquire();
    }
    return nowMs() - beginMs;
  };
  const auto firstMs = encode(0, 1);
  const auto otherMs = encode(1, runs) / (runs - 1);
  encoder->end();
  return {"the first " + std::to_string(firstMs) + " ms, the others " + std::to_string(otherMs) +
              " ms, " + std::to_string(inside) + " of 10 inside the call",
          agreesIf(otherMs <= longestMs)};
}

Outcome encodeJpeg() {
  const auto context = MacImageEncoder().makeContext(/*cacheIntermediates=*/false);
  const auto picture = makePicture();
  std::size_t bytes = 0;
  const auto beginMs = nowMs();
  for (int run = 0; run < runs; ++run) {
    bytes = context->jpegRepresentation(*picture, 0.7).value_or(Data()).size();
  }
  const auto usualMs = (nowMs() - beginMs) / runs;
  return {std::to_string(usualMs) + " ms for " + std::to_string(bytes / 1000) + " kB",
          agreesIf(bytes > 0 && usualMs <= longestMs)};
}

// Takes its time, so that the end of the session meets it at work.
struct SlowOutput final : CompressionOutput {
  void compressionDidOutput(EncoderStatus /*status*/, const EncodedSample* /*sample*/) override {
    ++begun;
    called.release();
    for (int round = 0; round < 300'000; ++round) (void)nowMs();
    ++ended;
  }

  std::atomic<int> begun = 0;
  std::atomic<int> ended = 0;
  std::counting_semaphore<> called{0};
};

Outcome invalidateAtWork() {
  SlowOutput output;
  const auto made = MacVideoEncoder().createSession(static_cast<std::int32_t>(pictureSize.width),
                                                    static_cast<std::int32_t>(pictureSize.height),
                                                    VideoCodec::h264, {}, &output);
  if (made.session == nullptr) return {"no encoder: " + std::to_string(made.status)};
  const auto picture = makePicture();
  for (int frame = 0; frame < runs; ++frame) made.session->encodeFrame(picture, {frame, 30}, {});
  output.called.acquire();
  const bool isAtWork = output.ended < runs;
  made.session->invalidate();
  const int begun = output.begun;
  const int atWork = begun - output.ended;
  pause(1s);
  const int late = output.begun - begun;
  return {std::to_string(atWork) + " at work when it returns, " + std::to_string(late) + " later",
          isAtWork ? agreesIf(atWork == 0 && late == 0) : "-"};
}

}  // namespace

std::vector<Fact> encoderFacts() {
  return {
      {"video", 60, "How long does H.264 of 1920 x 1200 take, and where is called back?",
       "at most 33 ms; on any thread, also inside VTCompressionSessionEncodeFrame", encodeVideo},
      {"jpeg", 60, "How long does JPEG of 1920 x 1200 take?", "at most 33 ms", encodeJpeg},
      {"invalidate", 30, "Are callbacks over when VTCompressionSessionInvalidate returns?",
       "they are", invalidateAtWork},
  };
}

}  // namespace quorvin::facts
