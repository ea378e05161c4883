#import "platform/macos/Permissions.h"

#import <ApplicationServices/ApplicationServices.h>
#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>
#import <SystemConfiguration/SystemConfiguration.h>

#import "platform/macos/Bridging.h"

namespace quorvin {

bool MacPermissions::preflightScreenCaptureAccess() { return CGPreflightScreenCaptureAccess(); }

bool MacPermissions::requestScreenCaptureAccess() { return CGRequestScreenCaptureAccess(); }

bool MacPermissions::isProcessTrusted() { return AXIsProcessTrusted(); }

bool MacPermissions::isProcessTrustedWithOptions(bool prompt) {
  NSDictionary* options = @{
    (__bridge id)
    kAXTrustedCheckOptionPrompt : (__bridge id)(prompt ? kCFBooleanTrue : kCFBooleanFalse)
  };
  return AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options);
}

std::optional<std::string> MacPermissions::copyComputerName() {
  NSString* name = CFBridgingRelease(SCDynamicStoreCopyComputerName(nullptr, nullptr));
  if (name == nil) return std::nullopt;
  return toString(name);
}

}  // namespace quorvin
