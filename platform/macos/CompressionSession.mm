#import "platform/macos/CompressionSession.h"

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>

#import "platform/macos/CaptureSample.h"

namespace quorvin {
namespace {

CFStringRef toPropertyKey(CompressionProperty property) {
  switch (property) {
    case CompressionProperty::realTime:
      return kVTCompressionPropertyKey_RealTime;
    case CompressionProperty::allowFrameReordering:
      return kVTCompressionPropertyKey_AllowFrameReordering;
    case CompressionProperty::allowTemporalCompression:
      return kVTCompressionPropertyKey_AllowTemporalCompression;
    case CompressionProperty::profileLevel:
      return kVTCompressionPropertyKey_ProfileLevel;
    case CompressionProperty::expectedFrameRate:
      return kVTCompressionPropertyKey_ExpectedFrameRate;
    case CompressionProperty::averageBitRate:
      return kVTCompressionPropertyKey_AverageBitRate;
    case CompressionProperty::maxKeyFrameInterval:
      break;
  }
  return kVTCompressionPropertyKey_MaxKeyFrameInterval;
}

struct ToPropertyValue {
  id operator()(bool value) const { return [NSNumber numberWithBool:value]; }
  id operator()(std::int32_t value) const { return [NSNumber numberWithInt:value]; }
  id operator()(std::int64_t value) const { return [NSNumber numberWithLongLong:value]; }
  id operator()(ProfileLevel /*h264MainAutoLevel*/) const {
    return (__bridge id)kVTProfileLevel_H264_Main_AutoLevel;
  }
};

CMTime toTime(MediaTime time) {
  return {time.value, time.timescale, static_cast<CMTimeFlags>(time.flags), time.epoch};
}

CMTime toTime(const std::optional<MediaTime>& time) {
  return time ? toTime(*time) : kCMTimeInvalid;
}

}  // namespace

MacCompressionSession::~MacCompressionSession() { invalidate(); }

EncoderStatus MacCompressionSession::setProperty(CompressionProperty property,
                                                 CompressionPropertyValue value) {
  id object = std::visit(ToPropertyValue(), value);
  return VTSessionSetProperty(session.get(), toPropertyKey(property), (__bridge CFTypeRef)object);
}

EncoderStatus MacCompressionSession::prepareToEncodeFrames() {
  return VTCompressionSessionPrepareToEncodeFrames(session.get());
}

EncoderStatus MacCompressionSession::encodeFrame(const std::shared_ptr<PixelBuffer>& frame,
                                                 MediaTime presentationTimeStamp,
                                                 std::optional<MediaTime> duration) {
  const auto* captured = dynamic_cast<const MacPixelBuffer*>(frame.get());
  if (captured == nullptr) return kVTParameterErr;
  return VTCompressionSessionEncodeFrame(session.get(), captured->pixelBuffer(),
                                         toTime(presentationTimeStamp), toTime(duration), nullptr,
                                         nullptr, nullptr);
}

EncoderStatus MacCompressionSession::completeFrames(std::optional<MediaTime> until) {
  return VTCompressionSessionCompleteFrames(session.get(), toTime(until));
}

void MacCompressionSession::invalidate() {
  if (isInvalidated) return;
  isInvalidated = true;
  VTCompressionSessionInvalidate(session.get());
}

}  // namespace quorvin
