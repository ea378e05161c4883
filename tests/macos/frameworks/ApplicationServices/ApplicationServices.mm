#import <ApplicationServices/ApplicationServices.h>

#import <Foundation/Foundation.h>

#include <atomic>
#include <string>
#include <vector>

#import "ApplicationServices/ApplicationServicesControl.h"
#include "tests/macos/standin/CallLog.h"

CFStringRef kAXTrustedCheckOptionPrompt = CFSTR("AXTrustedCheckOptionPrompt");

namespace {

std::atomic<bool> processIsTrusted = true;

// "key = true"
std::string describe(NSString* key, id value) {
  const std::string name = key.UTF8String;
  if (CFGetTypeID((__bridge CFTypeRef)value) != CFBooleanGetTypeID()) {
    standin::violation("AXIsProcessTrustedWithOptions: " + name + " is not a CFBoolean");
    return name + " = ?";
  }
  return name + " = " + ([value boolValue] ? "true" : "false");
}

std::vector<std::string> describe(NSDictionary<NSString*, id>* options) {
  std::vector<std::string> entries;
  for (NSString* key in options) entries.push_back(describe(key, options[key]));
  return entries;
}

}  // namespace

Boolean AXIsProcessTrusted(void) {
  standin::record("AXIsProcessTrusted");
  return processIsTrusted;
}

Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options) {
  standin::record("AXIsProcessTrustedWithOptions", describe((__bridge NSDictionary*)options));
  return processIsTrusted;
}

namespace standin {

void resetApplicationServices() { setProcessTrusted(true); }

void setProcessTrusted(bool isTrusted) { processIsTrusted = isTrusted; }

}  // namespace standin
