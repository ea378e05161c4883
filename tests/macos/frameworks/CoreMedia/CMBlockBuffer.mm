#import <CoreMedia/CMBlockBuffer.h>

#import <CoreGraphics/LiveHandles.h>
#import <CoreMedia/CoreMediaControl.h>

#include <algorithm>
#include <cstring>
#include <string>

using standin::record;

namespace {

standin::LiveHandles& liveBuffers() {
  static standin::LiveHandles handles("CMBlockBuffer");
  return handles;
}

}  // namespace

// What a CMBlockBufferRef points at.
@interface StandInBlockBuffer : NSObject
@end

@implementation StandInBlockBuffer {
 @public
  standin::BlockBufferScript _script;
}

- (instancetype)initWithScript:(const standin::BlockBufferScript&)script {
  self = [super init];
  if (self) {
    _script = script;
    liveBuffers().add((__bridge void*)self);
  }
  return self;
}

- (void)dealloc {
  liveBuffers().remove((__bridge void*)self);
}

@end

namespace {

// Nil, and a violation, for one that is gone.
StandInBlockBuffer* objectFor(CMBlockBufferRef handle, const char* operation) {
  if (!liveBuffers().check(handle, operation)) return nil;
  return (__bridge StandInBlockBuffer*)handle;
}

std::size_t lengthOf(const standin::BlockBufferScript& script) {
  std::size_t length = 0;
  for (const auto& block : script.blocks) length += block.size();
  return length;
}

OSStatus statusOfCopy(const standin::BlockBufferScript& script, size_t offset, size_t length) {
  const auto available = lengthOf(script);
  if (offset > available) return kCMBlockBufferBadOffsetParameterErr;
  if (length == 0 || length > available - offset) return kCMBlockBufferBadLengthParameterErr;
  return script.copyStatus;
}

// Block for block, as what is copied need not lie in one piece.
void copy(const standin::BlockBufferScript& script, size_t offset, size_t length,
          std::uint8_t* destination) {
  for (const auto& block : script.blocks) {
    const auto skipped = std::min(offset, block.size());
    const auto count = std::min(length, block.size() - skipped);
    destination =
        std::copy_n(block.begin() + static_cast<std::ptrdiff_t>(skipped), count, destination);
    offset -= skipped;
    length -= count;
  }
}

}  // namespace

size_t CMBlockBufferGetDataLength(CMBlockBufferRef theBuffer) {
  record("CMBlockBufferGetDataLength");
  StandInBlockBuffer* buffer = objectFor(theBuffer, "CMBlockBufferGetDataLength");
  return buffer == nil ? 0 : lengthOf(buffer->_script);
}

OSStatus CMBlockBufferCopyDataBytes(CMBlockBufferRef theSourceBuffer, size_t offsetToData,
                                    size_t dataLength, void* destination) {
  constexpr auto operation = "CMBlockBufferCopyDataBytes";
  record(operation, {std::to_string(offsetToData), std::to_string(dataLength)});
  StandInBlockBuffer* buffer = objectFor(theSourceBuffer, operation);
  if (buffer == nil || destination == nullptr) {
    if (destination == nullptr) standin::violation(std::string(operation) + " to nowhere");
    return kCMBlockBufferBadPointerParameterErr;
  }
  const auto status = statusOfCopy(buffer->_script, offsetToData, dataLength);
  if (status == kCMBlockBufferNoErr) {
    copy(buffer->_script, offsetToData, dataLength, static_cast<std::uint8_t*>(destination));
  }
  return status;
}

namespace standin {

id makeBlockBuffer(const BlockBufferScript& script) {
  return [[StandInBlockBuffer alloc] initWithScript:script];
}

}  // namespace standin
