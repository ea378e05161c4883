#import <VideoToolbox/VTCompressionSession.h>

#import <CoreVideo/StandInPixelBuffer.h>
#import <Foundation/Foundation.h>
#import <VideoToolbox/PropertyTypes.h>
#import <VideoToolbox/StandInCompressionSession.h>
#import <VideoToolbox/VideoToolboxScript.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/macos/standin/CallLog.h"

using standin::record;
using standin::violation;

namespace {

StandInCompressionSession* usable(VTCompressionSessionRef session, const char* operation) {
  return [StandInCompressionSession usableObjectFor:session operation:operation];
}

std::string describe(FourCharCode code) {
  std::string text;
  for (const auto shift : {24U, 16U, 8U, 0U}) text += static_cast<char>(code >> shift);
  return text;
}

std::string describe(CMTime time) {
  if (CMTIME_IS_INVALID(time)) return "invalid";
  return std::to_string(time.value) + "/" + std::to_string(time.timescale);
}

// "key = true" for every entry; a violation for one of the wrong type.
std::string describe(NSDictionary<NSString*, id>* specification) {
  std::string text;
  for (NSString* key in specification) {
    const std::string name = key.UTF8String;
    const auto value = (__bridge CFTypeRef)specification[key];
    const auto type = standin::typeOfProperty(name);
    if (!type || CFGetTypeID(value) != *type) {
      violation("the encoder specification has a wrong " + name);
    }
    text += (text.empty() ? "" : ", ") + name + " = " + standin::describeProperty(value);
  }
  return text;
}

std::string presence(const void* pointer) { return pointer == nullptr ? "NULL" : "given"; }

OSStatus creationStatus(int32_t width, int32_t height, VTCompressionOutputCallback callback) {
  if (width <= 0 || height <= 0 || callback == nullptr) return kVTParameterErr;
  return standin::videoToolboxScript().creationStatus;
}

}  // namespace

OSStatus VTCompressionSessionCreate(
    CFAllocatorRef allocator, int32_t width, int32_t height, CMVideoCodecType codecType,
    CFDictionaryRef encoderSpecification, CFDictionaryRef sourceImageBufferAttributes,
    CFAllocatorRef compressedDataAllocator, VTCompressionOutputCallback outputCallback,
    void* outputCallbackRefCon, VTCompressionSessionRef* compressionSessionOut) {
  record("VTCompressionSessionCreate",
         {presence(allocator), std::to_string(width), std::to_string(height), describe(codecType),
          describe((__bridge NSDictionary*)encoderSpecification),
          presence(sourceImageBufferAttributes), presence(compressedDataAllocator)});
  const auto status = creationStatus(width, height, outputCallback);
  if (status != noErr || standin::videoToolboxScript().withholdsSessions) return status;
  StandInCompressionSession* session = [[StandInCompressionSession alloc]
      initWithOutlet:std::make_shared<standin::EncodedFrameOutlet>(outputCallback,
                                                                   outputCallbackRefCon)];
  *compressionSessionOut = (__bridge_retained VTCompressionSessionRef)session;
  return noErr;
}

void VTCompressionSessionInvalidate(VTCompressionSessionRef session) {
  record("VTCompressionSessionInvalidate");
  [usable(session, "VTCompressionSessionInvalidate") invalidate];
}

OSStatus VTCompressionSessionPrepareToEncodeFrames(VTCompressionSessionRef session) {
  constexpr auto operation = "VTCompressionSessionPrepareToEncodeFrames";
  record(operation);
  if (usable(session, operation) == nil) return kVTInvalidSessionErr;
  return standin::scriptedStatus(operation);
}

OSStatus VTCompressionSessionEncodeFrame(VTCompressionSessionRef session,
                                         CVImageBufferRef imageBuffer, CMTime presentationTimeStamp,
                                         CMTime duration, CFDictionaryRef frameProperties,
                                         void* sourceFrameRefcon, VTEncodeInfoFlags* infoFlagsOut) {
  constexpr auto operation = "VTCompressionSessionEncodeFrame";
  record(operation, {describe(presentationTimeStamp), describe(duration), presence(frameProperties),
                     presence(sourceFrameRefcon), presence(infoFlagsOut)});
  StandInCompressionSession* encoder = usable(session, operation);
  if (encoder == nil) return kVTInvalidSessionErr;
  id frame = [StandInPixelBuffer objectFor:imageBuffer operation:operation];
  if (frame == nil) return kVTParameterErr;
  [encoder checkTimeStamp:presentationTimeStamp];
  if (const auto status = standin::scriptedStatus(operation); status != noErr) return status;
  if (infoFlagsOut != nullptr) *infoFlagsOut = kVTEncodeInfo_Asynchronous;
  const auto script = standin::videoToolboxScript();
  const standin::EncoderOutput dropped{.infoFlags = kVTEncodeInfo_FrameDropped};
  encoder.outlet.add(frame, sourceFrameRefcon,
                     script.encoder ? script.encoder(frame, presentationTimeStamp) : dropped,
                     script.delivery);
  return noErr;
}

OSStatus VTCompressionSessionCompleteFrames(VTCompressionSessionRef session,
                                            CMTime completeUntilPresentationTimeStamp) {
  constexpr auto operation = "VTCompressionSessionCompleteFrames";
  record(operation, {describe(completeUntilPresentationTimeStamp)});
  StandInCompressionSession* encoder = usable(session, operation);
  if (encoder == nil) return kVTInvalidSessionErr;
  if (const auto status = standin::scriptedStatus(operation); status != noErr) return status;
  encoder.outlet.complete();
  return noErr;
}
