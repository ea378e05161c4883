#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/VideoEncoder.h"
#include "tests/contract/Contract.h"
#include "tests/contract/DecodedFrame.h"
#include "tests/contract/Record.h"

namespace quorvin::contract {

// An encoder with frames that it can encode.
class VideoEncoderWorld {
 public:
  VideoEncoderWorld() = default;
  VideoEncoderWorld(const VideoEncoderWorld&) = delete;
  VideoEncoderWorld& operator=(const VideoEncoderWorld&) = delete;
  virtual ~VideoEncoderWorld() = default;

  virtual VideoEncoder& videoEncoder() = 0;
  virtual std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) = 0;
  // One of that size that cannot be encoded, while others can.
  virtual std::shared_ptr<PixelBuffer> unusableFrame(const FrameSize& size) = 0;
  // Lets the encoder work until the condition holds; false when it never does.
  virtual bool runUntil(const Condition& condition) = 0;
  // Lets everything arrive that is on its way.
  virtual void settle() = 0;
  // What another decoder makes of one frame, an Annex-B byte stream (ITU-T H.264) that starts
  // with its parameter sets.
  virtual DecodedFrame decode(const std::vector<std::uint8_t>& byteStream) = 0;
};

// What came out of a session at one time.
struct OutputNote {
  EncoderStatus status = 0;
  bool hasSample = false;
  std::optional<std::vector<EncodedSampleAttachments>> attachments;
  std::optional<std::vector<std::uint8_t>> data;
  std::optional<std::vector<std::uint8_t>> dataAgain;  // copied a second time
  bool hasFormatDescription = false;
  std::vector<std::vector<std::uint8_t>> parameterSets;  // all that there are, from index 0
};

// Writes down everything that comes out.
class OutputRecorder final : public CompressionOutput {
 public:
  void compressionDidOutput(EncoderStatus status, const EncodedSample* sample) override;

  Record<OutputNote> outputs;
};

class VideoEncoderContract : public Contract<VideoEncoderWorld> {
 protected:
  static constexpr FrameSize usualSize{64, 48};

  bool runUntil(const Condition& condition) { return world->runUntil(condition); }
  [[nodiscard]] CompressionSessionResult createSession(const FrameSize& size,
                                                       OutputRecorder& recorder);
  // A session of that size, set up as for screen contents: every frame by itself.
  void makeSession(const FrameSize& size);
  // Sets every property that there is.
  static void setUp(CompressionSession& toSetUp);
  std::shared_ptr<PixelBuffer> plainFrame(const FrameSize& size, Colour colour);
  // Puts it in at the next time stamp, a thirtieth of a second after the former one.
  [[nodiscard]] EncoderStatus encode(const std::shared_ptr<PixelBuffer>& frame);
  void encodePlain(std::size_t count);

  OutputRecorder output;
  std::unique_ptr<CompressionSession> session;
  std::int64_t time = 0;  // thirtieths of a second
};

// Encoders whose output another decoder can read.
class VideoStreamContract : public VideoEncoderContract {
 protected:
  // What the sample shows when decoded by itself.
  DecodedFrame decode(const OutputNote& note);
};

}  // namespace quorvin::contract
