#import <AppKit/AppKitState.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/macos/standin/CallLog.h"

using standin::appKitCall;
using standin::describe;
using standin::post;

NSNotificationName const NSWindowDidBecomeKeyNotification = @"NSWindowDidBecomeKeyNotification";
NSNotificationName const NSWindowDidMiniaturizeNotification = @"NSWindowDidMiniaturizeNotification";
NSNotificationName const NSWindowDidDeminiaturizeNotification =
    @"NSWindowDidDeminiaturizeNotification";
NSNotificationName const NSWindowDidChangeOcclusionStateNotification =
    @"NSWindowDidChangeOcclusionStateNotification";
NSNotificationName const NSWindowWillCloseNotification = @"NSWindowWillCloseNotification";

namespace {

// The system sets further bits than those that it documents.
constexpr NSWindowOcclusionState undocumentedState = 1UL << 13;

std::vector<__unsafe_unretained NSWindow*>& windowList() {
  static std::vector<__unsafe_unretained NSWindow*> list;
  return list;
}

}  // namespace

NSArray<NSWindow*>* standin::existingWindows() {
  NSMutableArray<NSWindow*>* windows = [NSMutableArray array];
  for (NSWindow* window : windowList()) [windows addObject:window];
  return windows;
}

@implementation NSWindow {
  NSViewController* _contentViewController;
  NSString* _title;
  CGFloat _alphaValue;
  NSSize _contentMinSize;
  BOOL _isOrderedIn;
  BOOL _isMiniaturized;
  BOOL _isKey;
  BOOL _isCovered;
  NSWindowOcclusionState _postedOcclusion;
}

@synthesize contentView = _contentView;

- (instancetype)init {
  return [self initWithContentRect:NSZeroRect
                         styleMask:NSWindowStyleMaskBorderless
                           backing:NSBackingStoreBuffered
                             defer:NO];
}

- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag {
  appKitCall("-[NSWindow initWithContentRect:styleMask:backing:defer:]",
             {describe(contentRect.size), std::to_string(style), std::to_string(backingStoreType),
              flag ? "YES" : "NO"});
  self = [super init];
  if (self != nil) {
    _title = @"";
    _alphaValue = 1;
    _contentView = [[NSView alloc] initWithFrame:contentRect];
    _postedOcclusion = undocumentedState;
    windowList().push_back(self);
  }
  return self;
}

- (void)dealloc {
  appKitCall("-[NSWindow dealloc]");
  std::erase(windowList(), self);
}

- (void)awakeFromNib {
  appKitCall("-[NSWindow awakeFromNib]");
  [super awakeFromNib];
}

- (void)setContentViewController:(NSViewController*)controller {
  appKitCall("-[NSWindow setContentViewController:]");
  _contentViewController = controller;
  self.contentView = controller.view;
}

- (NSViewController*)contentViewController {
  return _contentViewController;
}

- (void)setTitle:(NSString*)title {
  if (title == nil) return standin::violation("-[NSWindow setTitle:] was given nil.");
  appKitCall("-[NSWindow setTitle:]", {title.UTF8String});
  _title = [title copy];
}

- (NSString*)title {
  return _title;
}

- (void)setAlphaValue:(CGFloat)alphaValue {
  appKitCall("-[NSWindow setAlphaValue:]", {std::to_string(alphaValue)});
  _alphaValue = alphaValue;
}

- (CGFloat)alphaValue {
  return _alphaValue;
}

- (void)setContentMinSize:(NSSize)size {
  appKitCall("-[NSWindow setContentMinSize:]", {describe(size)});
  _contentMinSize = size;
}

- (NSSize)contentMinSize {
  return _contentMinSize;
}

- (void)setContentSize:(NSSize)size {
  appKitCall("-[NSWindow setContentSize:]", {describe(size)});
  NSView* content = self.contentView;
  content.frame =
      NSMakeRect(content.frame.origin.x, content.frame.origin.y, size.width, size.height);
}

- (void)center {
  appKitCall("-[NSWindow center]");
}

- (void)makeKeyAndOrderFront:(id)sender {
  [self orderFront:sender];
  [self standInBecomeKey];
}

- (void)orderFront:(id)sender {
  appKitCall("-[NSWindow orderFront:]", {sender == nil ? "nil" : "sender"});
  if (!_isOrderedIn) [self.contentViewController viewWillAppear];
  _isOrderedIn = YES;
  [self standInUpdateOcclusion];
}

- (void)orderOut:(id)sender {
  appKitCall("-[NSWindow orderOut:]", {sender == nil ? "nil" : "sender"});
  [self standInLeaveScreen];
}

- (void)standInLeaveScreen {
  _isOrderedIn = NO;
  _isMiniaturized = NO;
  _isKey = NO;
  [self standInUpdateOcclusion];
}

- (void)miniaturize:(id)sender {
  appKitCall("-[NSWindow miniaturize:]", {sender == nil ? "nil" : "sender"});
  if (!_isOrderedIn || _isMiniaturized) return;
  _isMiniaturized = YES;
  _isKey = NO;
  post(NSWindowDidMiniaturizeNotification, self);
  [self standInUpdateOcclusion];
}

- (void)deminiaturize:(id)sender {
  appKitCall("-[NSWindow deminiaturize:]", {sender == nil ? "nil" : "sender"});
  if (!_isMiniaturized) return;
  _isMiniaturized = NO;
  post(NSWindowDidDeminiaturizeNotification, self);
  [self standInUpdateOcclusion];
  [self standInBecomeKey];
}

- (void)close {
  appKitCall("-[NSWindow close]");
  post(NSWindowWillCloseNotification, self);
  [self standInLeaveScreen];
  [NSApp standInWindowClosed];
}

- (BOOL)isVisible {
  standin::requireMainThread("-[NSWindow isVisible]");
  return _isOrderedIn && !_isMiniaturized && ![NSApp isHidden];
}

- (BOOL)isMiniaturized {
  standin::requireMainThread("-[NSWindow isMiniaturized]");
  return _isMiniaturized;
}

- (NSWindowOcclusionState)occlusionState {
  standin::requireMainThread("-[NSWindow occlusionState]");
  const bool isInView = self.isVisible && !_isCovered;
  return undocumentedState | (isInView ? NSWindowOcclusionStateVisible : 0);
}

- (BOOL)isCoveredByOthers {
  return _isCovered;
}

- (void)setCoveredByOthers:(BOOL)covered {
  _isCovered = covered;
  [self standInUpdateOcclusion];
}

- (BOOL)isOpen {
  return _isOrderedIn;
}

- (void)standInBecomeKey {
  if (_isKey || !self.isVisible || ![NSApp isActive]) return;
  _isKey = YES;
  post(NSWindowDidBecomeKeyNotification, self);
}

- (void)standInResignKey {
  _isKey = NO;
}

- (void)standInUpdateOcclusion {
  const NSWindowOcclusionState state = self.occlusionState;
  if (state == _postedOcclusion) return;
  _postedOcclusion = state;
  post(NSWindowDidChangeOcclusionStateNotification, self);
}

@end
