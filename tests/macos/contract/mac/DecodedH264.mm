#import "tests/macos/contract/mac/DecodedH264.h"

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>
#import <VideoToolbox/VideoToolbox.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

#import "tests/macos/contract/mac/MacFrames.h"

namespace quorvin::contract {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Release {
  void operator()(CFTypeRef object) const { CFRelease(object); }
};
template <typename Ref>
using Held = std::unique_ptr<std::remove_pointer_t<Ref>, Release>;

void expect(OSStatus status, const char* operation) {
  if (status == noErr) return;
  throw std::runtime_error(std::string(operation) + " failed with " + std::to_string(status));
}

std::vector<Bytes> unitsOf(const Bytes& byteStream) {
  constexpr std::array<std::uint8_t, 4> startCode{0, 0, 0, 1};
  std::vector<Bytes> units;
  auto unit = std::search(byteStream.begin(), byteStream.end(), startCode.begin(), startCode.end());
  while (unit != byteStream.end()) {
    unit += static_cast<std::ptrdiff_t>(startCode.size());
    const auto end = std::search(unit, byteStream.end(), startCode.begin(), startCode.end());
    units.emplace_back(unit, end);
    unit = end;
  }
  if (units.size() < 3) throw std::runtime_error("parameter sets and no frame");
  return units;
}

Held<CMVideoFormatDescriptionRef> formatOf(const Bytes& sequence, const Bytes& picture) {
  const std::array<const std::uint8_t*, 2> sets{sequence.data(), picture.data()};
  const std::array<std::size_t, 2> sizes{sequence.size(), picture.size()};
  CMFormatDescriptionRef format = nullptr;
  expect(CMVideoFormatDescriptionCreateFromH264ParameterSets(kCFAllocatorDefault, sets.size(),
                                                             sets.data(), sizes.data(), 4, &format),
         "CMVideoFormatDescriptionCreateFromH264ParameterSets");
  return Held<CMVideoFormatDescriptionRef>(format);
}

// The units from the third on, each after its length.
Bytes dataOf(const std::vector<Bytes>& units) {
  Bytes data;
  for (auto unit = units.begin() + 2; unit != units.end(); ++unit) {
    for (const auto shift : {24U, 16U, 8U, 0U}) {
      data.push_back(static_cast<std::uint8_t>(unit->size() >> shift));
    }
    data.insert(data.end(), unit->begin(), unit->end());
  }
  return data;
}

Held<CMBlockBufferRef> bufferOf(const Bytes& data) {
  CMBlockBufferRef buffer = nullptr;
  expect(CMBlockBufferCreateWithMemoryBlock(kCFAllocatorDefault, nullptr, data.size(),
                                            kCFAllocatorDefault, nullptr, 0, data.size(),
                                            kCMBlockBufferAssureMemoryNowFlag, &buffer),
         "CMBlockBufferCreateWithMemoryBlock");
  Held<CMBlockBufferRef> held(buffer);
  expect(CMBlockBufferReplaceDataBytes(data.data(), buffer, 0, data.size()),
         "CMBlockBufferReplaceDataBytes");
  return held;
}

Held<CMSampleBufferRef> sampleOf(CMVideoFormatDescriptionRef format, const Bytes& data) {
  const auto buffer = bufferOf(data);
  const std::size_t size = data.size();
  CMSampleBufferRef sample = nullptr;
  expect(CMSampleBufferCreateReady(kCFAllocatorDefault, buffer.get(), format, 1, 0, nullptr, 1,
                                   &size, &sample),
         "CMSampleBufferCreateReady");
  return Held<CMSampleBufferRef>(sample);
}

// The output callback: reads the frame into the optional that was given along.
void didDecode(void* /*decoder*/, void* decoded, OSStatus status, VTDecodeInfoFlags /*flags*/,
               CVImageBufferRef frame, CMTime /*presentationTime*/, CMTime /*duration*/) {
  if (status != noErr || frame == nullptr) return;
  *static_cast<std::optional<DecodedFrame>*>(decoded) = readFrame(frame);
}

Held<VTDecompressionSessionRef> decoderFor(CMVideoFormatDescriptionRef format) {
  NSDictionary* attributes =
      @{(__bridge id)kCVPixelBufferPixelFormatTypeKey : @(kCVPixelFormatType_32BGRA)};
  const VTDecompressionOutputCallbackRecord callback{didDecode, nullptr};
  VTDecompressionSessionRef decoder = nullptr;
  expect(VTDecompressionSessionCreate(kCFAllocatorDefault, format, nullptr,
                                      (__bridge CFDictionaryRef)attributes, &callback, &decoder),
         "VTDecompressionSessionCreate");
  return Held<VTDecompressionSessionRef>(decoder);
}

}  // namespace

DecodedFrame decodeH264(const std::vector<std::uint8_t>& byteStream) {
  @autoreleasepool {
    const auto units = unitsOf(byteStream);
    const auto format = formatOf(units[0], units[1]);
    const auto sample = sampleOf(format.get(), dataOf(units));
    const auto decoder = decoderFor(format.get());
    std::optional<DecodedFrame> frame;
    // Nothing asks for it to go on in the background.
    const auto status =
        VTDecompressionSessionDecodeFrame(decoder.get(), sample.get(), 0, &frame, nullptr);
    VTDecompressionSessionWaitForAsynchronousFrames(decoder.get());
    VTDecompressionSessionInvalidate(decoder.get());
    expect(status, "VTDecompressionSessionDecodeFrame");
    if (!frame) throw std::runtime_error("the decoder found no frame");
    return *frame;
  }
}

}  // namespace quorvin::contract
