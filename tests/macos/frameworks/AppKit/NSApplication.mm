#import <AppKit/AppKitState.h>

#include <string>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"

using standin::appKitCall;
using standin::appKitState;
using standin::post;

NSNotificationName const NSApplicationDidBecomeActiveNotification =
    @"NSApplicationDidBecomeActiveNotification";
NSNotificationName const NSApplicationDidResignActiveNotification =
    @"NSApplicationDidResignActiveNotification";
NSNotificationName const NSApplicationDidHideNotification = @"NSApplicationDidHideNotification";
NSNotificationName const NSApplicationDidUnhideNotification = @"NSApplicationDidUnhideNotification";
NSNotificationName const NSApplicationDidChangeOcclusionStateNotification =
    @"NSApplicationDidChangeOcclusionStateNotification";
NSNotificationName const NSApplicationWillFinishLaunchingNotification =
    @"NSApplicationWillFinishLaunchingNotification";
NSNotificationName const NSApplicationDidFinishLaunchingNotification =
    @"NSApplicationDidFinishLaunchingNotification";
NSNotificationName const NSApplicationWillTerminateNotification =
    @"NSApplicationWillTerminateNotification";

__kindof NSApplication* NSApp = nil;

@implementation NSApplication {
  NSApplicationActivationPolicy _policy;
  BOOL _isActive;
  BOOL _isHidden;
}

@synthesize delegate = _delegate;

+ (__kindof NSApplication*)sharedApplication {
  appKitCall("+[NSApplication sharedApplication]");
  if (NSApp == nil) NSApp = [[NSApplication alloc] init];
  return NSApp;
}

- (NSArray<NSWindow*>*)windows {
  appKitCall("-[NSApplication windows]");
  return standin::existingWindows();
}

- (BOOL)isActive {
  standin::requireMainThread("-[NSApplication isActive]");
  return _isActive;
}

- (BOOL)isHidden {
  standin::requireMainThread("-[NSApplication isHidden]");
  return _isHidden;
}

- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy {
  appKitCall("-[NSApplication setActivationPolicy:]", {std::to_string(activationPolicy)});
  _policy = activationPolicy;
  return YES;
}

- (NSApplicationActivationPolicy)activationPolicy {
  return _policy;
}

- (void)hide:(id)sender {
  appKitCall("-[NSApplication hide:]");
  _isHidden = YES;
  post(NSApplicationDidHideNotification, self);
  [self standInSetActive:NO];
  for (NSWindow* window in standin::existingWindows()) [window standInUpdateOcclusion];
}

- (void)unhide:(id)sender {
  appKitCall("-[NSApplication unhide:]");
  _isHidden = NO;
  post(NSApplicationDidUnhideNotification, self);
  for (NSWindow* window in standin::existingWindows()) [window standInUpdateOcclusion];
  [self standInSetActive:YES];
}

- (void)standInSetActive:(BOOL)active {
  if (_isActive == active) return;
  _isActive = active;
  if (!active) {
    for (NSWindow* window in standin::existingWindows()) [window standInResignKey];
    return post(NSApplicationDidResignActiveNotification, self);
  }
  post(NSApplicationDidBecomeActiveNotification, self);
  [standin::existingWindows().firstObject standInBecomeKey];
}

- (void)run {
  appKitCall("-[NSApplication run]");
  [self standInFinishLaunching];
  standin::settle();
  if (appKitState().script) {
    @autoreleasepool {
      appKitState().script();
    }
  }
  if (!appKitState().hasTerminated) [self terminate:nil];
  if (!appKitState().hasTerminated) standin::violation("the application was left running");
  standin::settle();
}

- (void)standInFinishLaunching {
  @autoreleasepool {
    post(NSApplicationWillFinishLaunchingNotification, self);
    [self standInAskAboutRestorableState];
    NSNotification* launched =
        [NSNotification notificationWithName:NSApplicationDidFinishLaunchingNotification
                                      object:self];
    if ([self.delegate respondsToSelector:@selector(applicationDidFinishLaunching:)]) {
      [self.delegate applicationDidFinishLaunching:launched];
    }
    [NSNotificationCenter.defaultCenter postNotification:launched];
    if (!appKitState().mainNib.showsWindowWithNib) {
      [standin::existingWindows().firstObject makeKeyAndOrderFront:nil];
    }
    // The system brings to the front what the user has just opened, but no accessory.
    if (_policy == NSApplicationActivationPolicyRegular) [self standInSetActive:YES];
  }
}

- (void)standInAskAboutRestorableState {
  const bool isSecure =
      [self.delegate respondsToSelector:@selector(applicationSupportsSecureRestorableState:)] &&
      [self.delegate applicationSupportsSecureRestorableState:self];
  standin::record("-[NSApplicationDelegate applicationSupportsSecureRestorableState:]",
                  {isSecure ? "YES" : "NO"});
}

- (void)standInWindowClosed {
  for (NSWindow* window in standin::existingWindows()) {
    if (window.isOpen) return;
  }
  if ([self.delegate applicationShouldTerminateAfterLastWindowClosed:self]) [self terminate:nil];
}

- (void)terminate:(id)sender {
  appKitCall("-[NSApplication terminate:]");
  if ([self.delegate respondsToSelector:@selector(applicationShouldTerminate:)] &&
      [self.delegate applicationShouldTerminate:self] == NSTerminateCancel) {
    return;
  }
  appKitState().hasTerminated = true;
  post(NSApplicationWillTerminateNotification, self);
}

@end
