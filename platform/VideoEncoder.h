#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <variant>
#include <vector>

#include "platform/Interface.h"
#include "platform/ScreenCapture.h"

namespace quorvin {

// The result of an operation of the encoder: 0, or a failure that only the system can explain
// (OSStatus).
using EncoderStatus = std::int32_t;

struct EncodedSampleAttachments {
  std::optional<bool> notSync;  // empty: no such entry, or not a boolean
};

// What an encoder made of one frame. Valid only while the call lasts that hands it out.
class EncodedSample : public Interface {
 public:
  // Empty when the sample has no attachments array.
  [[nodiscard]] virtual std::optional<std::vector<EncodedSampleAttachments>> attachments()
      const = 0;
  // The size of the data buffer in bytes; empty when the sample has none. The data are NAL units
  // (ITU-T H.264), each after its length as four bytes, big-endian (ISO/IEC 14496-15).
  [[nodiscard]] virtual std::optional<std::size_t> dataLength() const = 0;
  // Copies the whole data buffer, whose size `destination` has.
  [[nodiscard]] virtual EncoderStatus copyDataBytes(std::span<std::uint8_t> destination) const = 0;
  [[nodiscard]] virtual bool hasFormatDescription() const = 0;
  // A parameter set of the format description, without start code or length; empty when there is
  // none of that index. Index 0 is the sequence's and 1 the picture's.
  [[nodiscard]] virtual std::optional<std::span<const std::uint8_t>> h264ParameterSet(
      std::size_t index) const = 0;
};

// Receives what comes out of a session, in the order in which it was put in, on a thread of the
// encoder's, possibly while another frame is being put in.
class CompressionOutput : public Interface {
 public:
  // Without a sample when the frame failed or was dropped.
  virtual void compressionDidOutput(EncoderStatus status, const EncodedSample* sample) = 0;
};

enum class CompressionProperty {
  realTime,                  // bool
  allowFrameReordering,      // bool
  allowTemporalCompression,  // bool
  profileLevel,              // ProfileLevel
  expectedFrameRate,         // int32, frames a second
  averageBitRate,            // int64, bits a second
  maxKeyFrameInterval,       // int32, frames
};
enum class ProfileLevel { h264MainAutoLevel };
using CompressionPropertyValue = std::variant<bool, std::int32_t, std::int64_t, ProfileLevel>;

// One encoder at work on frames of one size. Used by one thread at a time; a session that is let
// go without having been invalidated is invalidated then.
class CompressionSession : public Interface {
 public:
  virtual EncoderStatus setProperty(CompressionProperty property,
                                    CompressionPropertyValue value) = 0;
  virtual EncoderStatus prepareToEncodeFrames() = 0;
  // Keeps the frame for as long as it needs it. The time stamps of a session must grow. An empty
  // duration says that it is not known.
  virtual EncoderStatus encodeFrame(const std::shared_ptr<PixelBuffer>& frame,
                                    MediaTime presentationTimeStamp,
                                    std::optional<MediaTime> duration) = 0;
  // Waits until the frames up to that time have come out; without a time, until all have.
  virtual EncoderStatus completeFrames(std::optional<MediaTime> until) = 0;
  // Nothing comes out any more once this has returned.
  virtual void invalidate() = 0;
};

enum class VideoCodec : std::uint32_t { h264 = 0x61766331 };  // the four characters "avc1"

// What is asked of the encoder that the system chooses. An empty entry is not part of the request.
struct EncoderSpecification {
  std::optional<bool> enableHardwareAcceleratedVideoEncoder;

  friend bool operator==(const EncoderSpecification&, const EncoderSpecification&) = default;
};

struct CompressionSessionResult {
  EncoderStatus status = 0;
  std::unique_ptr<CompressionSession> session;  // may be null although the status is 0
};

class VideoEncoder : public Interface {
 public:
  // `output` is not kept alive: it has to outlive the session or its invalidation. Sizes are in
  // pixels.
  [[nodiscard]] virtual CompressionSessionResult createSession(
      std::int32_t width, std::int32_t height, VideoCodec codec,
      const EncoderSpecification& specification, CompressionOutput* output) = 0;
};

}  // namespace quorvin
