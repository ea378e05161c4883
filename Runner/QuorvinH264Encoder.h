#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/Data.h"
#include "platform/VideoEncoder.h"

namespace quorvin {

// Turns frames of one size into H.264, each by itself, and hands out every encoded one as a
// payload (see H264Payload.h). A frame that fails on the way is skipped without a word.
//
// The owner's thread makes it, puts frames in and ends it; payloads leave on a thread of the
// system's encoder, also while the next frame is put in. Nothing here is written on that thread,
// so that there is no lock.
class QuorvinH264Encoder final : public CompressionOutput,
                                 public std::enable_shared_from_this<QuorvinH264Encoder> {
 public:
  // Receives each payload, on a thread of the system's encoder. Kept for as long as the encoder.
  using EmitFrame = std::function<void(Data)>;

  // Sizes in pixels. Throws Error when the system has no encoder for it. A size or a rate that the
  // system could not be told stops the process.
  QuorvinH264Encoder(VideoEncoder& videoEncoder, std::int64_t width, std::int64_t height,
                     std::int64_t fps, std::int64_t bitrateMbps, EmitFrame emitFrame);
  // Ends the session if nobody has; its last payloads still go out. An owner had better end it
  // first: otherwise a payload on its way may be what holds it last, and the end then comes on the
  // thread that the end waits for.
  ~QuorvinH264Encoder() override;

  // Does nothing once the session has ended.
  void encode(const std::shared_ptr<PixelBuffer>& frame, MediaTime presentationTimeStamp);
  // Waits until everything put in has come out, then lets go of the session. May be called again.
  void end();

  void compressionDidOutput(EncoderStatus status, const EncodedSample* sample) override;

  const std::int64_t width;
  const std::int64_t height;

 private:
  void handle(const EncodedSample& sample) const;

  std::unique_ptr<CompressionSession> session;  // empty once it has ended
  const EmitFrame emitFrame;
};

}  // namespace quorvin
