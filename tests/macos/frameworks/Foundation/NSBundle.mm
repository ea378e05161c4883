#import "tests/macos/frameworks/Foundation/Support.h"

#include "tests/macos/frameworks/Foundation/FoundationState.h"

@implementation NSBundle

+ (NSBundle*)mainBundle {
  static NSBundle* const bundle = standin::immortal([[NSBundle alloc] init]);
  return bundle;
}

- (NSString*)bundlePath {
  const std::lock_guard guard(standin::foundationState().mutex);
  return standin::stringOf(std::string_view(standin::foundationState().bundlePath));
}

- (NSString*)executablePath {
  const std::lock_guard guard(standin::foundationState().mutex);
  return standin::stringOf(std::string_view(standin::foundationState().executablePath));
}

- (NSURL*)bundleURL {
  return [NSURL fileURLWithPath:self.bundlePath isDirectory:YES];
}

- (NSURL*)executableURL {
  NSString* path = self.executablePath;
  return path.length == 0 ? nil : [NSURL fileURLWithPath:path isDirectory:NO];
}

@end
