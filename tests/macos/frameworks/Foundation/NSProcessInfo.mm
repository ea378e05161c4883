#import "tests/macos/frameworks/Foundation/Support.h"

#include <array>

#include "tests/macos/frameworks/Foundation/FoundationState.h"
#include "tests/macos/standin/CallLog.h"

// A running activity. It ends at the latest with this token.
@interface StandInActivity : NSObject
@end

namespace {

bool endActivity(const void* token) {
  auto& state = standin::foundationState();
  const std::lock_guard guard(state.mutex);
  return std::erase_if(state.activities,
                       [token](const auto& running) { return running.token == token; }) > 0;
}

}  // namespace

@implementation StandInActivity

- (void)dealloc {
  endActivity(self);
  [super dealloc];
}

@end

@implementation NSProcessInfo

+ (NSProcessInfo*)processInfo {
  static NSProcessInfo* const info = standin::immortal([[NSProcessInfo alloc] init]);
  return info;
}

- (NSArray*)arguments {
  NSMutableArray* arguments = [NSMutableArray array];
  const std::lock_guard guard(standin::foundationState().mutex);
  for (const auto& argument : standin::foundationState().arguments) {
    [arguments addObject:standin::stringOf(std::string_view(argument))];
  }
  return arguments;
}

- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version {
  const auto numbers = [](const NSOperatingSystemVersion& each) {
    return std::array{each.majorVersion, each.minorVersion, each.patchVersion};
  };
  const std::lock_guard guard(standin::foundationState().mutex);
  return numbers(standin::foundationState().systemVersion) >= numbers(version);
}

@end

@implementation NSProcessInfo (NSProcessInfoActivity)

- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason {
  const auto text = standin::utf8Of(reason);
  standin::record("-[NSProcessInfo beginActivityWithOptions:reason:]",
                  {std::to_string(options), text});
  if (text.empty()) standin::violation("an activity needs a reason");
  StandInActivity* token = [[StandInActivity alloc] init];
  {
    const std::lock_guard guard(standin::foundationState().mutex);
    standin::foundationState().activities.push_back({token, {options, text}});
  }
  return autoreleased(token);
}

- (void)endActivity:(id<NSObject>)activity {
  standin::record("-[NSProcessInfo endActivity:]");
  if (!endActivity(activity)) standin::violation("an activity was ended that was not running");
}

@end
