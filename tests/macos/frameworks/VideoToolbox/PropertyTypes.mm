#import <VideoToolbox/PropertyTypes.h>

#import <Foundation/Foundation.h>
#import <VideoToolbox/VTCompressionProperties.h>

#include <map>

namespace standin {
namespace {

std::string textOf(CFStringRef text) { return ((__bridge NSString*)text).UTF8String; }

std::string describeNumber(CFNumberRef number) {
  const std::string text = ((__bridge NSNumber*)number).stringValue.UTF8String;
  switch (CFNumberGetType(number)) {
    case kCFNumberSInt32Type:
      return text + " (SInt32)";
    case kCFNumberSInt64Type:
      return text + " (SInt64)";
    default:
      return text + " (another type)";
  }
}

}  // namespace

std::optional<CFTypeID> typeOfProperty(const std::string& key) {
  const std::map<std::string, CFTypeID> types = {
      {textOf(kVTCompressionPropertyKey_RealTime), CFBooleanGetTypeID()},
      {textOf(kVTCompressionPropertyKey_AllowFrameReordering), CFBooleanGetTypeID()},
      {textOf(kVTCompressionPropertyKey_AllowTemporalCompression), CFBooleanGetTypeID()},
      {textOf(kVTCompressionPropertyKey_ProfileLevel), CFStringGetTypeID()},
      {textOf(kVTCompressionPropertyKey_ExpectedFrameRate), CFNumberGetTypeID()},
      {textOf(kVTCompressionPropertyKey_AverageBitRate), CFNumberGetTypeID()},
      {textOf(kVTCompressionPropertyKey_MaxKeyFrameInterval), CFNumberGetTypeID()},
      {textOf(kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder),
       CFBooleanGetTypeID()},
  };
  const auto type = types.find(key);
  if (type == types.end()) return {};
  return type->second;
}

std::string describeProperty(CFTypeRef value) {
  if (value == nullptr) return "default";
  const auto type = CFGetTypeID(value);
  if (type == CFBooleanGetTypeID())
    return CFBooleanGetValue((CFBooleanRef)value) ? "true" : "false";
  if (type == CFNumberGetTypeID()) return describeNumber((CFNumberRef)value);
  if (type == CFStringGetTypeID()) return textOf((CFStringRef)value);
  return "?";
}

}  // namespace standin
