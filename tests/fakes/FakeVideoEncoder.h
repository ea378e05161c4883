#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Data.h"
#include "platform/VideoEncoder.h"
#include "tests/fakes/FakeScreenCapture.h"
#include "tests/fakes/SimulatedDispatch.h"

namespace quorvin::fakes {

// A sample of which the test decides everything.
class FakeEncodedSample final : public EncodedSample {
 public:
  std::optional<std::vector<EncodedSampleAttachments>> attachmentList;
  std::optional<Bytes> data;
  EncoderStatus copyStatus = 0;
  bool formatDescription = true;
  std::vector<std::optional<Bytes>> parameterSets;
  mutable std::vector<std::size_t> setsAsked;  // indices, in order

  // What an encoder makes of a frame: both parameter sets, and one unit that says which frame
  // it is and how large.
  static std::shared_ptr<FakeEncodedSample> of(const FakePixelBuffer& frame);
  // The units, each after its length.
  static Bytes withLengths(const std::vector<Bytes>& units);

  [[nodiscard]] std::optional<std::vector<EncodedSampleAttachments>> attachments() const override {
    return attachmentList;
  }
  [[nodiscard]] std::optional<std::size_t> dataLength() const override;
  [[nodiscard]] EncoderStatus copyDataBytes(std::span<std::uint8_t> destination) const override;
  [[nodiscard]] bool hasFormatDescription() const override { return formatDescription; }
  [[nodiscard]] std::optional<std::span<const std::uint8_t>> h264ParameterSet(
      std::size_t index) const override;
};

// The frame that a unit, or whatever ends with one, was made of.
struct FakeEncodedFrame {
  std::uint32_t content = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;

  static FakeEncodedFrame readFromEnd(std::span<const std::uint8_t> bytes);
};

// Encodes nothing, but answers, gives out and fails as the test says. Strict: a caller that breaks
// the contract is written down in `violations`.
class FakeVideoEncoder final : public VideoEncoder {
 public:
  explicit FakeVideoEncoder(SimulatedDispatch& dispatch) : dispatch(dispatch) {}

  // What creations answer.
  EncoderStatus status = 0;
  bool makesSessions = true;  // false: none comes, whatever the status
  // What the calls to a session answer. Those to refused properties fail with `refusal`.
  static constexpr EncoderStatus refusal = -12900;
  std::set<CompressionProperty> refusedProperties;
  EncoderStatus prepareStatus = 0;
  EncoderStatus encodeStatus = 0;  // a frame that is not taken does not come out either

  // What comes out for a frame; empty: the usual sample.
  struct Output {
    EncoderStatus status = 0;
    std::shared_ptr<FakeEncodedSample> sample;  // may be null
  };
  std::function<Output(const FakePixelBuffer&)> script;
  // When it comes out: while it is put in, on one of the system's threads, or when the test says
  // so. Completing brings out what waits, in any case.
  enum class Delivery { atOnce, later, whenTold };
  Delivery delivery = Delivery::later;

  // What another thread does meanwhile.
  std::function<void()> whileEncoding;
  std::function<void()> whileCompleting;

  struct Creation {
    std::int32_t width = 0;
    std::int32_t height = 0;
    VideoCodec codec = VideoCodec::h264;
    EncoderSpecification specification;

    friend bool operator==(const Creation&, const Creation&) = default;
  };
  std::vector<Creation> creations;
  // Every call to every session, in order, after the number of the session, from 1:
  // "1: realTime = true", "1: prepare", "1: encode 42 at 7/30", "1: complete", "1: invalidate",
  // "1: gone".
  std::vector<std::string> calls;
  std::size_t letGoAtWork = 0;      // sessions that were let go without an invalidation
  std::uint32_t newestContent = 0;  // the highest of what came out as usual samples
  std::vector<std::string> violations;

  CompressionSessionResult createSession(std::int32_t width, std::int32_t height, VideoCodec codec,
                                         const EncoderSpecification& specification,
                                         CompressionOutput* output) override;

  // Brings out the oldest frame that waits in the oldest session that has one; false when none
  // waits.
  bool deliverNext();
  [[nodiscard]] std::size_t waiting() const;
  // Sessions that have not been invalidated.
  [[nodiscard]] std::size_t sessionsAtWork() const;

 private:
  class Session;
  struct SessionState;

  SimulatedDispatch& dispatch;
  std::vector<std::shared_ptr<SessionState>> sessions;  // all that are held, oldest first
  std::size_t sessionsMade = 0;
};

}  // namespace quorvin::fakes
