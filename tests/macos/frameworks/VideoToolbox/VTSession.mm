#import <VideoToolbox/VTSession.h>

#import <Foundation/Foundation.h>
#import <VideoToolbox/PropertyTypes.h>
#import <VideoToolbox/StandInCompressionSession.h>
#import <VideoToolbox/VTErrors.h>
#import <VideoToolbox/VideoToolboxScript.h>

#include "tests/macos/standin/CallLog.h"

OSStatus VTSessionSetProperty(VTSessionRef session, CFStringRef propertyKey,
                              CFTypeRef propertyValue) {
  const std::string key = ((__bridge NSString*)propertyKey).UTF8String;
  standin::record("VTSessionSetProperty", {key, standin::describeProperty(propertyValue)});
  if ([StandInCompressionSession usableObjectFor:session operation:"VTSessionSetProperty"] == nil) {
    return kVTInvalidSessionErr;
  }
  const auto type = standin::typeOfProperty(key);
  if (!type) return kVTPropertyNotSupportedErr;
  if (propertyValue != nullptr && CFGetTypeID(propertyValue) != *type) {
    standin::violation("the property " + key + " has a value of the wrong type");
    return kVTParameterErr;
  }
  const auto statuses = standin::videoToolboxScript().propertyStatuses;
  const auto status = statuses.find(key);
  return status == statuses.end() ? noErr : status->second;
}
