#include "platform/linux/video/VideoSession.h"

#include <limits>
#include <utility>

#include "platform/linux/video/VideoEncoderStatus.h"

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

}  // namespace

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

EncoderStatus VideoSession::encodeFrame(const std::shared_ptr<PixelBuffer>& picture,
                                        MediaTime presentationTimeStamp,
                                        std::optional<MediaTime> /*duration*/) {
  const auto timeStamp = nanosecondsOf(presentationTimeStamp);
  if (!timeStamp) return statusOf(VideoEncoderStatus::invalidParameter);
  auto captured = std::dynamic_pointer_cast<const CapturedPixelBuffer>(picture);
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

}  // namespace quorvin
