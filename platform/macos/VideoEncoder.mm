#import "platform/macos/VideoEncoder.h"

#import <Foundation/Foundation.h>
#import <VideoToolbox/VideoToolbox.h>

#import "platform/macos/CompressionSession.h"
#import "platform/macos/EncodedSample.h"

namespace quorvin {
namespace {

static_assert(static_cast<CMVideoCodecType>(VideoCodec::h264) == kCMVideoCodecType_H264);

NSDictionary* toDictionary(const EncoderSpecification& specification) {
  NSMutableDictionary* dictionary = [NSMutableDictionary dictionary];
  if (const auto enable = specification.enableHardwareAcceleratedVideoEncoder) {
    id key = (__bridge id)kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder;
    dictionary[key] = [NSNumber numberWithBool:*enable];
  }
  return dictionary;
}

// The output callback of every session.
void didOutput(void* output, void* /*sourceFrame*/, OSStatus status,
               VTEncodeInfoFlags /*infoFlags*/, CMSampleBufferRef sampleBuffer) {
  auto* receiver = static_cast<CompressionOutput*>(output);
  if (receiver == nullptr) return;
  @autoreleasepool {
    if (sampleBuffer == nullptr) {
      receiver->compressionDidOutput(status, nullptr);
      return;
    }
    const MacEncodedSample sample(sampleBuffer);
    receiver->compressionDidOutput(status, &sample);
  }
}

}  // namespace

CompressionSessionResult MacVideoEncoder::createSession(std::int32_t width, std::int32_t height,
                                                        VideoCodec codec,
                                                        const EncoderSpecification& specification,
                                                        CompressionOutput* output) {
  VTCompressionSessionRef session = nullptr;
  const OSStatus status = VTCompressionSessionCreate(
      kCFAllocatorDefault, width, height, static_cast<CMVideoCodecType>(codec),
      (__bridge CFDictionaryRef)toDictionary(specification), nullptr, nullptr, didOutput, output,
      &session);
  if (session == nullptr) return {.status = status, .session = nullptr};
  return {.status = status, .session = std::make_unique<MacCompressionSession>(session)};
}

}  // namespace quorvin
