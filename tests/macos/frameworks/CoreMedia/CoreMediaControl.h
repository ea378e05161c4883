#pragma once

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace standin {

struct BlockBufferScript {
  std::vector<std::vector<std::uint8_t>> blocks;  // the data, in as many pieces as memory has it
  OSStatus copyStatus = kCMBlockBufferNoErr;      // of copies that nothing else is wrong with
};

// A new CMBlockBuffer. Cast with (__bridge CMBlockBufferRef).
id makeBlockBuffer(const BlockBufferScript& script);

struct ParameterSetScript {
  std::vector<std::uint8_t> bytes;
  OSStatus status = noErr;
  bool hasPointer = true;
  std::optional<std::size_t> size{};  // what is said of the bytes, if not the truth
};
struct FormatDescriptionScript {
  std::vector<ParameterSetScript> parameterSets;
};

// A new CMFormatDescription of H.264 video. Cast with (__bridge CMFormatDescriptionRef).
id makeFormatDescription(const FormatDescriptionScript& script);

struct SampleBufferScript {
  bool isValid = true;
  id attachments = nil;  // what the attachments array is, which need not be an array
  id imageBuffer = nil;  // of makePixelBuffer
  CMTime presentationTimeStamp = kCMTimeZero;
  id dataBuffer = nil;         // of makeBlockBuffer
  id formatDescription = nil;  // of makeFormatDescription
};

// A new CMSampleBuffer. Cast with (__bridge CMSampleBufferRef).
id makeSampleBuffer(const SampleBufferScript& script);

}  // namespace standin
