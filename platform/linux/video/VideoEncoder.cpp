#include "platform/linux/video/VideoEncoder.h"

#include <limits>
#include <new>
#include <system_error>
#include <utility>

#include "platform/Mutex.h"
#include "platform/linux/video/FrameEncoder.h"
#include "platform/linux/video/H264Library.h"

namespace quorvin {

namespace {

constexpr auto endOfTime = std::chrono::nanoseconds::max();

// Empty if the time makes no sense or lies beyond what nanoseconds can count.
std::optional<std::chrono::nanoseconds> nanosecondsOf(MediaTime time) {
  constexpr std::int64_t mostSeconds =
      std::numeric_limits<std::int64_t>::max() / std::nano::den - 1;
  if (time.timescale <= 0 || (time.flags & mediaTimeValid) == 0) return {};
  const std::int64_t seconds = time.value / time.timescale;
  if (seconds > mostSeconds || seconds < -mostSeconds) return {};
  const std::int64_t rest = time.value % time.timescale;
  return std::chrono::seconds(seconds) +
         std::chrono::nanoseconds(rest * std::nano::den / time.timescale);
}

// The settings with that property; empty if the value is not one of its kind.
std::optional<EncoderSettings> settingsWith(EncoderSettings settings, CompressionProperty property,
                                            const CompressionPropertyValue& value) {
  const auto* number = std::get_if<std::int32_t>(&value);
  switch (property) {
    case CompressionProperty::realTime:
    case CompressionProperty::allowFrameReordering:
    case CompressionProperty::allowTemporalCompression:
      // Permissions of which no use is made, and the only pace that there is.
      if (!std::holds_alternative<bool>(value)) return {};
      return settings;
    case CompressionProperty::profileLevel:
      if (!std::holds_alternative<ProfileLevel>(value)) return {};
      return settings;
    case CompressionProperty::maxKeyFrameInterval:
      // All are key frames, which no interval forbids.
      if (number == nullptr || *number < 0) return {};
      return settings;
    case CompressionProperty::expectedFrameRate:
      if (number == nullptr || *number <= 0) return {};
      settings.expectedRate = *number;
      return settings;
    case CompressionProperty::averageBitRate:
      if (const auto* rate = std::get_if<std::int64_t>(&value); rate != nullptr && *rate > 0) {
        settings.averageBitRate = *rate;
        return settings;
      }
      return {};
  }
  return {};
}

// A session of the encoder of this back end. Frames never depend on each other and come out in
// the order in which they were put in, whatever is allowed. Any thread, and also from within what
// it hands out.
class VideoSession final : public CompressionSession {
 public:
  // Throws std::bad_alloc or std::system_error.
  VideoSession(PixelSize size, CompressionOutput& output);

  EncoderStatus setProperty(CompressionProperty property, CompressionPropertyValue value) override;
  EncoderStatus prepareToEncodeFrames() override;
  EncoderStatus encodeFrame(const std::shared_ptr<PixelBuffer>& frame,
                            MediaTime presentationTimeStamp,
                            std::optional<MediaTime> duration) override;
  EncoderStatus completeFrames(std::optional<MediaTime> until) override;
  void invalidate() override;

 private:
  PixelSize size;
  Mutex mutex;
  EncoderSettings settings QUORVIN_GUARDED_BY(mutex);
  bool isValid QUORVIN_GUARDED_BY(mutex) = true;
  EncodingThread thread;
};

VideoSession::VideoSession(PixelSize size, CompressionOutput& output)
    : size(size), thread(size, output) {}

EncoderStatus VideoSession::setProperty(CompressionProperty property,
                                        CompressionPropertyValue value) {
  const MutexLock lock(mutex);
  if (!isValid) return statusOf(VideoEncoderStatus::ended);
  const auto changed = settingsWith(settings, property, value);
  if (!changed) return statusOf(VideoEncoderStatus::invalidParameter);
  settings = *changed;
  thread.setSettings(settings);
  return statusOf(VideoEncoderStatus::success);
}

EncoderStatus VideoSession::prepareToEncodeFrames() {
  const MutexLock lock(mutex);
  return statusOf(isValid ? VideoEncoderStatus::success : VideoEncoderStatus::ended);
}

EncoderStatus VideoSession::encodeFrame(const std::shared_ptr<PixelBuffer>& frame,
                                        MediaTime presentationTimeStamp,
                                        std::optional<MediaTime> /*duration*/) {
  const auto timeStamp = nanosecondsOf(presentationTimeStamp);
  if (!timeStamp) return statusOf(VideoEncoderStatus::invalidParameter);
  auto captured = std::dynamic_pointer_cast<const CapturedFrame>(frame);
  if (!captured || !std::cmp_equal(captured->widthPx(), size.width) ||
      !std::cmp_equal(captured->heightPx(), size.height)) {
    return statusOf(VideoEncoderStatus::notEncodable);
  }
  const MutexLock lock(mutex);
  if (!isValid) return statusOf(VideoEncoderStatus::ended);
  thread.put(std::move(captured), *timeStamp);
  return statusOf(VideoEncoderStatus::success);
}

EncoderStatus VideoSession::completeFrames(std::optional<MediaTime> until) {
  const auto last = until ? nanosecondsOf(*until) : endOfTime;
  if (!last) return statusOf(VideoEncoderStatus::invalidParameter);
  thread.waitFor(*last);
  return statusOf(VideoEncoderStatus::success);
}

void VideoSession::invalidate() {
  {
    const MutexLock lock(mutex);
    isValid = false;
  }
  thread.end();
}

CompressionSessionResult failure(VideoEncoderStatus status) {
  return {statusOf(status), nullptr};
}

}  // namespace

CompressionSessionResult LinuxVideoEncoder::createSession(
    std::int32_t width, std::int32_t height, VideoCodec codec,
    const EncoderSpecification& /*specification*/, CompressionOutput* output) {
  if (codec != VideoCodec::h264) return failure(VideoEncoderStatus::notSupported);
  const PixelSize size{width, height};
  if (output == nullptr || !H264Library::isEncodable(size)) {
    return failure(VideoEncoderStatus::invalidParameter);
  }
  try {
    return {statusOf(VideoEncoderStatus::success), std::make_unique<VideoSession>(size, *output)};
  } catch (const std::bad_alloc&) {
    return failure(VideoEncoderStatus::noResources);
  } catch (const std::system_error&) {
    return failure(VideoEncoderStatus::noResources);
  }
}

}  // namespace quorvin
