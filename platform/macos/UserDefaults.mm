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

void MacUserDefaults::setBool(bool value, const std::string& key) {
  [NSUserDefaults.standardUserDefaults setBool:value forKey:toNSString(key)];
}

void MacUserDefaults::setString(const std::string& value, const std::string& key) {
  [NSUserDefaults.standardUserDefaults setObject:toNSString(value) forKey:toNSString(key)];
}

void MacUserDefaults::removeObject(const std::string& key) {
  [NSUserDefaults.standardUserDefaults removeObjectForKey:toNSString(key)];
}

// The system stores in its own time whatever this answers, so there is no failure to report.
void MacUserDefaults::synchronize() { [NSUserDefaults.standardUserDefaults synchronize]; }

}  // namespace quorvin
