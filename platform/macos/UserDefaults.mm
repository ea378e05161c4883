#import "platform/macos/UserDefaults.h"

#import <Foundation/Foundation.h>

#import "platform/macos/Bridging.h"

namespace quorvin {

bool MacUserDefaults::boolForKey(const std::string& key) {
  return [NSUserDefaults.standardUserDefaults boolForKey:toNSString(key)];
}

std::optional<std::string> MacUserDefaults::stringForKey(const std::string& key) {
  NSString* text = [NSUserDefaults.standardUserDefaults stringForKey:toNSString(key)];
  if (text == nil) return std::nullopt;
  return toString(text);
}

}  // namespace quorvin
