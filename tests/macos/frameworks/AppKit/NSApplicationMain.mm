#import <AppKit/AppKitState.h>

#include <string>
#include <vector>

#include "tests/macos/standin/CallLog.h"

namespace {

Class classOfNib(const std::string& name) {
  Class type = NSClassFromString([NSString stringWithUTF8String:name.c_str()]);
  if (type == Nil) standin::violation("The main nib names a class that is not there: " + name);
  return type;
}

NSWindow* makeWindow(const standin::MainNib& nib) {
  const NSWindowStyleMask style = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                  NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable;
  return [[classOfNib(nib.windowClass) alloc] initWithContentRect:nib.contentRect
                                                        styleMask:style
                                                          backing:NSBackingStoreBuffered
                                                            defer:NO];
}

// Makes all objects, connects them, and then wakes them. Returns those that the nib owns.
NSArray* loadMainNib(const standin::MainNib& nib) {
  @autoreleasepool {
    id<NSApplicationDelegate> delegate = [[classOfNib(nib.delegateClass) alloc] init];
    [NSApp setDelegate:delegate];
    NSWindow* window = makeWindow(nib);
    if ([delegate respondsToSelector:@selector(setMainFlutterWindow:)]) {
      [delegate performSelector:@selector(setMainFlutterWindow:) withObject:window];
    }
    if (!nib.wakesWindowFirst) [(NSObject*)delegate awakeFromNib];
    [window awakeFromNib];
    if (nib.wakesWindowFirst) [(NSObject*)delegate awakeFromNib];
    if (nib.showsWindowWithNib) [window makeKeyAndOrderFront:nil];
    // In the order in which they are to go.
    NSMutableArray* owned = [NSMutableArray array];
    if (window != nil) [owned addObject:window];
    if (delegate != nil) [owned addObject:delegate];
    return owned;
  }
}

}  // namespace

@implementation NSNib

- (instancetype)initWithNibData:(NSData*)nibData bundle:(NSBundle*)bundle {
  if (nibData == nil) standin::violation("an NSNib made with nil");
  return [super init];
}

- (BOOL)instantiateWithOwner:(id)owner topLevelObjects:(NSArray**)topLevelObjects {
  standin::appKitCall("-[NSNib instantiateWithOwner:topLevelObjects:]");
  *topLevelObjects = loadMainNib(standin::appKitState().mainNib);
  return YES;
}

@end

int NSApplicationMain(int argc, const char* argv[]) {
  standin::appKitState().hasTerminated = false;
  standin::appKitCall("NSApplicationMain", std::vector<std::string>(argv, argv + argc));
  @autoreleasepool {
    [NSApplication sharedApplication];
    // AppKit keeps these for as long as the process lives.
    NS_VALID_UNTIL_END_OF_SCOPE NSArray* owned = loadMainNib(standin::appKitState().mainNib);
    [NSApp run];
    static_cast<void>(owned);
  }
  return 0;
}
