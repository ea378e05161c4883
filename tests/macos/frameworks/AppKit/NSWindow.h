#pragma once

#import <AppKit/AppKitDefines.h>
#import <AppKit/NSGraphics.h>
#import <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSView, NSViewController;

typedef NS_OPTIONS(NSUInteger, NSWindowStyleMask) {
  NSWindowStyleMaskBorderless = 0,
  NSWindowStyleMaskTitled = 1 << 0,
  NSWindowStyleMaskClosable = 1 << 1,
  NSWindowStyleMaskMiniaturizable = 1 << 2,
  NSWindowStyleMaskResizable = 1 << 3,
};

typedef NS_OPTIONS(NSUInteger, NSWindowOcclusionState) {
  NSWindowOcclusionStateVisible = 1UL << 1,
};

// Main thread. Every call is recorded.
@interface NSWindow : NSResponder
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag NS_DESIGNATED_INITIALIZER;

@property(nullable, strong) NSViewController* contentViewController;
@property(nullable, strong) __kindof NSView* contentView;
@property(copy) NSString* title;
@property CGFloat alphaValue;
@property NSSize contentMinSize;

- (void)setContentSize:(NSSize)size;
- (void)center;

- (void)makeKeyAndOrderFront:(nullable id)sender;
- (void)orderFront:(nullable id)sender;
- (void)orderOut:(nullable id)sender;
- (void)miniaturize:(nullable id)sender;
- (void)deminiaturize:(nullable id)sender;
- (void)close;

@property(getter=isVisible, readonly) BOOL visible;
@property(getter=isMiniaturized, readonly) BOOL miniaturized;
@property(readonly) NSWindowOcclusionState occlusionState;
@end

APPKIT_EXTERN NSNotificationName const NSWindowDidBecomeKeyNotification;
APPKIT_EXTERN NSNotificationName const NSWindowDidMiniaturizeNotification;
APPKIT_EXTERN NSNotificationName const NSWindowDidDeminiaturizeNotification;
APPKIT_EXTERN NSNotificationName const NSWindowDidChangeOcclusionStateNotification;
APPKIT_EXTERN NSNotificationName const NSWindowWillCloseNotification;

NS_ASSUME_NONNULL_END
