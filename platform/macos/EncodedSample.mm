#import "platform/macos/EncodedSample.h"

#import <Foundation/Foundation.h>

namespace quorvin {
namespace {

std::optional<bool> notSyncOf(id attachments) {
  if (![attachments isKindOfClass:[NSDictionary class]]) return {};
  NSDictionary* dictionary = attachments;
  id value = dictionary[(__bridge id)kCMSampleAttachmentKey_NotSync];
  if (![value isKindOfClass:[NSNumber class]]) return {};
  // Foundation would take any number for a boolean.
  if (CFGetTypeID((__bridge CFTypeRef)value) != CFBooleanGetTypeID()) return {};
  return static_cast<NSNumber*>(value).boolValue;
}

}  // namespace

std::optional<std::vector<EncodedSampleAttachments>> MacEncodedSample::attachments() const {
  id array = (__bridge id)CMSampleBufferGetSampleAttachmentsArray(sample, false);
  if (![array isKindOfClass:[NSArray class]]) return {};
  std::vector<EncodedSampleAttachments> attachments;
  for (id entry in static_cast<NSArray*>(array)) attachments.push_back({notSyncOf(entry)});
  return attachments;
}

std::optional<std::size_t> MacEncodedSample::dataLength() const {
  CMBlockBufferRef buffer = CMSampleBufferGetDataBuffer(sample);
  if (buffer == nullptr) return {};
  return CMBlockBufferGetDataLength(buffer);
}

EncoderStatus MacEncodedSample::copyDataBytes(std::span<std::uint8_t> destination) const {
  CMBlockBufferRef buffer = CMSampleBufferGetDataBuffer(sample);
  if (buffer == nullptr) return kCMBlockBufferBadPointerParameterErr;
  // No bytes may have no address, and the function must be given one.
  std::uint8_t none = 0;
  return CMBlockBufferCopyDataBytes(buffer, 0, destination.size(),
                                    destination.empty() ? &none : destination.data());
}

bool MacEncodedSample::hasFormatDescription() const {
  return CMSampleBufferGetFormatDescription(sample) != nullptr;
}

std::optional<std::span<const std::uint8_t>> MacEncodedSample::h264ParameterSet(
    std::size_t index) const {
  CMFormatDescriptionRef description = CMSampleBufferGetFormatDescription(sample);
  if (description == nullptr) return {};
  const std::uint8_t* bytes = nullptr;
  std::size_t size = 0;
  const OSStatus status = CMVideoFormatDescriptionGetH264ParameterSetAtIndex(
      description, index, &bytes, &size, nullptr, nullptr);
  if (status != noErr || bytes == nullptr) return {};
  return std::span(bytes, size);
}

}  // namespace quorvin
