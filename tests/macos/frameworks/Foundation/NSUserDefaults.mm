#import "tests/macos/frameworks/Foundation/Support.h"

#include "tests/macos/frameworks/Foundation/FoundationState.h"
#include "tests/macos/standin/CallLog.h"

namespace {

bool isPropertyList(id value) {
  for (Class allowed in @[
         [NSString class], [NSNumber class], [NSData class], [NSArray class], [NSDictionary class]
       ]) {
    if ([value isKindOfClass:allowed]) return true;
  }
  return false;
}

std::string lowercase(std::string text) {
  for (auto& character : text) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return text;
}

}  // namespace

@implementation NSUserDefaults

+ (NSUserDefaults*)standardUserDefaults {
  static NSUserDefaults* const defaults = standin::immortal([[NSUserDefaults alloc] init]);
  return defaults;
}

- (id)objectForKey:(NSString*)defaultName {
  auto& state = standin::foundationState();
  const std::lock_guard guard(state.mutex);
  const auto found = state.defaults.find(standin::utf8Of(defaultName));
  return found == state.defaults.end() ? nil : [[found->second.get() retain] autorelease];
}

- (void)setObject:(id)value forKey:(NSString*)defaultName {
  if (value != nil && !isPropertyList(value)) {
    standin::violation("user defaults hold property list types only");
    return;
  }
  id copied = [[value copy] autorelease];
  standin::presetUserDefault(standin::utf8Of(defaultName), copied);
}

- (void)removeObjectForKey:(NSString*)defaultName {
  [self setObject:nil forKey:defaultName];
}

- (void)setBool:(BOOL)value forKey:(NSString*)defaultName {
  [self setObject:[NSNumber numberWithBool:value] forKey:defaultName];
}

// A text as it is, a number as its text, and nothing else.
- (NSString*)stringForKey:(NSString*)defaultName {
  id value = [self objectForKey:defaultName];
  if ([value isKindOfClass:[NSString class]]) return value;
  return [value isKindOfClass:[NSNumber class]] ? [value stringValue] : nil;
}

// A number unless it is zero, and a text that says so.
- (BOOL)boolForKey:(NSString*)defaultName {
  id value = [self objectForKey:defaultName];
  if ([value isKindOfClass:[NSNumber class]]) return [value boolValue];
  if (![value isKindOfClass:[NSString class]]) return NO;
  const auto text = lowercase(standin::utf8Of(value));
  return text == "yes" || text == "true" || text == "1";
}

- (BOOL)synchronize {
  return YES;
}

@end
