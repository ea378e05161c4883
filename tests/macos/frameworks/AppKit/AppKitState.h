#pragma once

#import <AppKit/AppKitControl.h>

// What the parts of the stand-in AppKit know of each other.

namespace standin {

struct AppKitState {
  MainNib mainNib;
  std::function<void()> script;
  bool hasTerminated = false;
};
AppKitState& appKitState();

// Records the call and requires the main thread.
void appKitCall(const std::string& name, std::vector<std::string> arguments = {});
void post(NSNotificationName _Nonnull name, id _Nonnull sender);
// "width x height", for the record.
std::string describe(NSSize size);

// All windows that exist, in the order in which they were made.
NSArray<NSWindow*>* _Nonnull existingWindows();

}  // namespace standin

NS_ASSUME_NONNULL_BEGIN

@interface NSWindow (StandIn)
@property(nonatomic, getter=isCoveredByOthers) BOOL coveredByOthers;
// On the screen or in the Dock: neither closed nor ordered out.
@property(nonatomic, readonly) BOOL isOpen;
// Takes the keyboard, which only a visible window of an active application can.
- (void)standInBecomeKey;
- (void)standInResignKey;
// Posts when the state has changed since the last time.
- (void)standInUpdateOcclusion;
@end

@interface NSApplication (StandIn)
- (void)standInSetActive:(BOOL)active;
// Asks the delegate whether the application is to go on without a window.
- (void)standInWindowClosed;
@end

NS_ASSUME_NONNULL_END
