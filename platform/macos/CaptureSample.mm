#import "platform/macos/CaptureSample.h"

#import <Foundation/Foundation.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <cstdint>

namespace quorvin {
namespace {

// Foundation would read a boolean as 0 or 1 and cut a fraction off; neither is a status.
std::optional<std::int64_t> integerOf(id value) {
  if (![value isKindOfClass:[NSNumber class]]) return {};
  if (CFGetTypeID((__bridge CFTypeRef)value) == CFBooleanGetTypeID()) return {};
  NSNumber* number = value;
  const std::int64_t integer = number.longLongValue;
  if (![number isEqualToNumber:@(integer)]) return {};
  return integer;
}

}  // namespace

bool MacCaptureSample::isValid() const { return CMSampleBufferIsValid(sample); }

std::optional<std::vector<SampleAttachments>> MacCaptureSample::attachments() const {
  id array = (__bridge id)CMSampleBufferGetSampleAttachmentsArray(sample, false);
  if (![array isKindOfClass:[NSArray class]]) return {};
  std::vector<SampleAttachments> attachments;
  for (id entry in static_cast<NSArray*>(array)) {
    if (![entry isKindOfClass:[NSDictionary class]]) return {};
    NSDictionary* dictionary = entry;
    attachments.push_back({integerOf(dictionary[SCStreamFrameInfoStatus])});
  }
  return attachments;
}

std::shared_ptr<PixelBuffer> MacCaptureSample::imageBuffer() const {
  CVImageBufferRef buffer = CMSampleBufferGetImageBuffer(sample);
  return buffer == nullptr ? nullptr : std::make_shared<MacPixelBuffer>(buffer);
}

MediaTime MacCaptureSample::presentationTimeStamp() const {
  const CMTime time = CMSampleBufferGetPresentationTimeStamp(sample);
  return {time.value, time.timescale, time.flags, time.epoch};
}

}  // namespace quorvin
