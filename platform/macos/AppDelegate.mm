#import "platform/macos/AppDelegate.h"

#include <memory>

#include "platform/Application.h"
#include "platform/macos/NibFactories.h"

@implementation AppDelegate {
  std::unique_ptr<quorvin::ApplicationDelegate> part;
}

- (instancetype)init {
  self = [super init];
  if (self != nil) part = quorvin::nibFactories().makeDelegate();
  return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  part->applicationDidFinishLaunching([&] {
    // Flutter's delegate does this work elsewhere, and may or may not have such a method.
    if (![FlutterAppDelegate
            instancesRespondToSelector:@selector(applicationDidFinishLaunching:)]) {
      return;
    }
    [super applicationDidFinishLaunching:notification];
  });
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender {
  return part->applicationShouldTerminateAfterLastWindowClosed();
}

- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)app {
  return part->applicationSupportsSecureRestorableState();
}

@end
