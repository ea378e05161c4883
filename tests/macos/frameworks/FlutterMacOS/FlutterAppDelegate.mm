#import <FlutterMacOS/FlutterAppDelegate.h>
#import <FlutterMacOS/FlutterControl.h>

#include "tests/macos/standin/CallLog.h"

namespace {

bool finishesLaunching = false;

}  // namespace

void standin::letFlutterAppDelegateFinishLaunching(bool implemented) {
  finishesLaunching = implemented;
}

@implementation FlutterAppDelegate

// The method below is there for the test that says so.
+ (BOOL)instancesRespondToSelector:(SEL)selector {
  if (self == [FlutterAppDelegate class] && selector == @selector(applicationDidFinishLaunching:)) {
    return finishesLaunching;
  }
  return [super instancesRespondToSelector:selector];
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  standin::requireMainThread("-[FlutterAppDelegate applicationDidFinishLaunching:]");
  standin::record("-[FlutterAppDelegate applicationDidFinishLaunching:]");
  if (!finishesLaunching) {
    standin::violation(
        "-[FlutterAppDelegate applicationDidFinishLaunching:]: unrecognized selector");
  }
}

@end
