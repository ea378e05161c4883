#import <FlutterMacOS/FlutterAppDelegate.h>
#import <FlutterMacOS/FlutterControl.h>

#include "tests/macos/standin/CallLog.h"

namespace {

bool finishesLaunching = false;
bool asksBeforeTermination = false;

}  // namespace

void standin::letFlutterAppDelegateFinishLaunching(bool implemented) {
  finishesLaunching = implemented;
}

void standin::askBeforeTermination() { asksBeforeTermination = true; }

void standin::answerTermination(bool exits) {
  if (!exits) return;
  asksBeforeTermination = false;
  [NSApp terminate:nil];
}

@implementation FlutterAppDelegate

// The method below is there for the test that says so.
+ (BOOL)instancesRespondToSelector:(SEL)selector {
  if (self == [FlutterAppDelegate class] && selector == @selector(applicationDidFinishLaunching:)) {
    return finishesLaunching;
  }
  return [super instancesRespondToSelector:selector];
}

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender {
  standin::requireMainThread("-[FlutterAppDelegate applicationShouldTerminate:]");
  standin::record("-[FlutterAppDelegate applicationShouldTerminate:]");
  return asksBeforeTermination ? NSTerminateCancel : NSTerminateNow;
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
