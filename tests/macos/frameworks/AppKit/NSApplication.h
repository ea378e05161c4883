#pragma once

#import <AppKit/AppKitDefines.h>
#import <AppKit/NSResponder.h>
#import <AppKit/NSRunningApplication.h>

NS_ASSUME_NONNULL_BEGIN

@class NSApplication, NSWindow;

typedef NS_ENUM(NSUInteger, NSApplicationTerminateReply) {
  NSTerminateCancel = 0,
  NSTerminateNow = 1,
};

@protocol NSApplicationDelegate <NSObject>
@optional
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender;
- (void)applicationDidFinishLaunching:(NSNotification*)notification;
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender;
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)app;
@end

// The application object; nil until it has been made.
APPKIT_EXTERN __kindof NSApplication* _Null_unspecified NSApp;

// Main thread. Every call is recorded.
@interface NSApplication : NSResponder
@property(class, readonly, strong) __kindof NSApplication* sharedApplication;

@property(nullable, weak) id<NSApplicationDelegate> delegate;
@property(readonly, copy) NSArray<NSWindow*>* windows;
@property(getter=isActive, readonly) BOOL active;
@property(getter=isHidden, readonly) BOOL hidden;

- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy;
- (NSApplicationActivationPolicy)activationPolicy;
- (void)hide:(nullable id)sender;
- (void)unhide:(nullable id)sender;
- (void)run;
- (void)terminate:(nullable id)sender;
@end

// Loads the main nib and runs the application. AppKit's does not return; this one does, once the
// test that started it has finished with the application.
APPKIT_EXTERN int NSApplicationMain(int argc, const char* _Nonnull argv[_Nonnull]);

APPKIT_EXTERN NSNotificationName const NSApplicationDidBecomeActiveNotification;
APPKIT_EXTERN NSNotificationName const NSApplicationDidResignActiveNotification;
APPKIT_EXTERN NSNotificationName const NSApplicationDidHideNotification;
APPKIT_EXTERN NSNotificationName const NSApplicationDidUnhideNotification;
APPKIT_EXTERN NSNotificationName const NSApplicationDidChangeOcclusionStateNotification;
APPKIT_EXTERN NSNotificationName const NSApplicationWillFinishLaunchingNotification;
APPKIT_EXTERN NSNotificationName const NSApplicationDidFinishLaunchingNotification;
APPKIT_EXTERN NSNotificationName const NSApplicationWillTerminateNotification;

NS_ASSUME_NONNULL_END
