#include "Runner/QuorvinH264Encoder.h"

#include <limits>
#include <optional>
#include <utility>

#include "Runner/H264Payload.h"
#include "platform/Error.h"
#include "platform/Fatal.h"

namespace quorvin {

namespace {

constexpr std::int64_t bitsPerMegabit = 1'000'000;

std::int32_t requireInt32(std::int64_t value, const char* complaint) {
  if (value < std::numeric_limits<std::int32_t>::min() ||
      value > std::numeric_limits<std::int32_t>::max()) {
    fatalError(complaint);
  }
  return static_cast<std::int32_t>(value);
}

std::int64_t requireBitRate(std::int64_t megabits) {
  if (megabits < std::numeric_limits<std::int64_t>::min() / bitsPerMegabit ||
      megabits > std::numeric_limits<std::int64_t>::max() / bitsPerMegabit) {
    fatalError("The bit rate of an encoder cannot be represented.");
  }
  return megabits * bitsPerMegabit;
}

std::unique_ptr<CompressionSession> makeSession(VideoEncoder& videoEncoder, std::int32_t width,
                                                std::int32_t height, CompressionOutput* output) {
  // Hardware is asked for and not required: any encoder is better than none.
  const EncoderSpecification specification{.enableHardwareAcceleratedVideoEncoder = true};
  auto made = videoEncoder.createSession(width, height, VideoCodec::h264, specification, output);
  if (made.status != 0 || made.session == nullptr) {
    throw Error("com.quorvin.support.h264", made.status,
                "The Mac hardware H.264 encoder is unavailable.");
  }
  return std::move(made.session);
}

// Every frame by itself, since any of them may be dropped on its way for a newer one. What an
// encoder does not take it does its own way.
void setUp(CompressionSession& session, std::int32_t fps, std::int64_t bitRate) {
  session.setProperty(CompressionProperty::realTime, true);
  session.setProperty(CompressionProperty::allowFrameReordering, false);
  session.setProperty(CompressionProperty::allowTemporalCompression, false);
  session.setProperty(CompressionProperty::profileLevel, ProfileLevel::h264MainAutoLevel);
  session.setProperty(CompressionProperty::expectedFrameRate, fps);
  session.setProperty(CompressionProperty::averageBitRate, bitRate);
  session.setProperty(CompressionProperty::maxKeyFrameInterval, std::int32_t{1});
  session.prepareToEncodeFrames();
}

// A sample that says nothing about it can be decoded by itself.
bool isKeyFrame(const EncodedSample& sample) {
  const auto attachments = sample.attachments();
  return !attachments || attachments->empty() || !attachments->front().notSync.value_or(false);
}

H264ParameterSets parameterSets(const EncodedSample& sample) {
  if (!sample.hasFormatDescription()) return {};
  return {sample.h264ParameterSet(0), sample.h264ParameterSet(1)};
}

}  // namespace

QuorvinH264Encoder::QuorvinH264Encoder(VideoEncoder& videoEncoder, std::int64_t width,
                                       std::int64_t height, std::int64_t fps,
                                       std::int64_t bitrateMbps, EmitFrame emitFrame)
    : width(requireInt32(width, "The width of an encoder cannot be represented.")),
      height(requireInt32(height, "The height of an encoder cannot be represented.")),
      session(makeSession(videoEncoder, static_cast<std::int32_t>(width),
                          static_cast<std::int32_t>(height), this)),
      emitFrame(std::move(emitFrame)) {
  const auto frameRate = requireInt32(fps, "The frame rate of an encoder cannot be represented.");
  setUp(*session, frameRate, requireBitRate(bitrateMbps));
}

QuorvinH264Encoder::~QuorvinH264Encoder() {
  end();
}

void QuorvinH264Encoder::encode(const std::shared_ptr<PixelBuffer>& frame,
                                MediaTime presentationTimeStamp) {
  if (session == nullptr) return;
  session->encodeFrame(frame, presentationTimeStamp, /*duration=*/std::nullopt);
}

void QuorvinH264Encoder::end() {
  if (session == nullptr) return;
  // In this order, for what comes out needs this object: nothing does once both are done.
  session->completeFrames(/*until=*/std::nullopt);
  session->invalidate();
  session.reset();
}

void QuorvinH264Encoder::compressionDidOutput(EncoderStatus status, const EncodedSample* sample) {
  if (status != 0 || sample == nullptr) return;
  // Empty while the destructor waits for the last ones, and then it is the wait that keeps this.
  const auto held = weak_from_this().lock();
  handle(*sample);
}

void QuorvinH264Encoder::handle(const EncodedSample& sample) const {
  const auto length = sample.dataLength();
  if (!length) return;
  const bool keyFrame = isKeyFrame(sample);
  H264PayloadBuilder payload(keyFrame ? parameterSets(sample) : H264ParameterSets{}, *length);
  if (sample.copyDataBytes(payload.units()) != 0) return;
  if (auto bytes = std::move(payload).finish(keyFrame, width, height)) emitFrame(*std::move(bytes));
}

}  // namespace quorvin
