#import <CoreMedia/CMFormatDescription.h>

#import <CoreGraphics/LiveHandles.h>
#import <CoreMedia/CoreMediaControl.h>

#include <string>

namespace {

standin::LiveHandles& liveDescriptions() {
  static standin::LiveHandles handles("CMFormatDescription");
  return handles;
}

std::string presence(const void* pointer) { return pointer == nullptr ? "NULL" : "given"; }

}  // namespace

// What a CMFormatDescriptionRef points at.
@interface StandInFormatDescription : NSObject
@end

@implementation StandInFormatDescription {
 @public
  standin::FormatDescriptionScript _script;
}

- (instancetype)initWithScript:(const standin::FormatDescriptionScript&)script {
  self = [super init];
  if (self) {
    _script = script;
    liveDescriptions().add((__bridge void*)self);
  }
  return self;
}

- (void)dealloc {
  liveDescriptions().remove((__bridge void*)self);
}

@end

OSStatus CMVideoFormatDescriptionGetH264ParameterSetAtIndex(CMFormatDescriptionRef videoDesc,
                                                            size_t parameterSetIndex,
                                                            const uint8_t** parameterSetPointerOut,
                                                            size_t* parameterSetSizeOut,
                                                            size_t* parameterSetCountOut,
                                                            int* NALUnitHeaderLengthOut) {
  constexpr auto operation = "CMVideoFormatDescriptionGetH264ParameterSetAtIndex";
  standin::record(operation, {std::to_string(parameterSetIndex), presence(parameterSetPointerOut),
                              presence(parameterSetSizeOut), presence(parameterSetCountOut),
                              presence(NALUnitHeaderLengthOut)});
  if (!liveDescriptions().check(videoDesc, operation)) {
    return kCMFormatDescriptionError_InvalidParameter;
  }
  const auto& sets = ((__bridge StandInFormatDescription*)videoDesc)->_script.parameterSets;
  if (parameterSetIndex >= sets.size()) return kCMFormatDescriptionError_InvalidParameter;
  const auto& set = sets[parameterSetIndex];
  if (set.status != noErr) return set.status;
  if (parameterSetPointerOut != nullptr) {
    *parameterSetPointerOut = set.hasPointer ? set.bytes.data() : nullptr;
  }
  if (parameterSetSizeOut != nullptr) *parameterSetSizeOut = set.size.value_or(set.bytes.size());
  if (parameterSetCountOut != nullptr) *parameterSetCountOut = sets.size();
  if (NALUnitHeaderLengthOut != nullptr) *NALUnitHeaderLengthOut = 4;
  return noErr;
}

namespace standin {

id makeFormatDescription(const FormatDescriptionScript& script) {
  return [[StandInFormatDescription alloc] initWithScript:script];
}

}  // namespace standin
