#import <AppKit/AppKitState.h>

#include "tests/macos/standin/CallLog.h"

@implementation NSResponder
@end

@implementation NSView
@synthesize frame = _frame;

- (instancetype)initWithFrame:(NSRect)frameRect {
  standin::appKitCall("-[NSView initWithFrame:]");
  self = [super init];
  if (self != nil) _frame = frameRect;
  return self;
}

@end

@implementation NSViewController {
  NSView* _view;
}

- (instancetype)initWithNibName:(NSNibName)nibNameOrNil bundle:(NSBundle*)nibBundleOrNil {
  standin::appKitCall("-[NSViewController initWithNibName:bundle:]");
  if (nibNameOrNil != nil || nibBundleOrNil != nil) {
    standin::violation("There is no nib but the main one.");
  }
  return [super init];
}

- (instancetype)init {
  return [self initWithNibName:nil bundle:nil];
}

- (NSView*)view {
  standin::requireMainThread("-[NSViewController view]");
  if (_view == nil) [self loadView];
  return _view;
}

- (void)setView:(NSView*)view {
  _view = view;
}

- (void)loadView {
  self.view = [[NSView alloc] initWithFrame:NSZeroRect];
}

- (void)viewWillAppear {
  standin::appKitCall("-[NSViewController viewWillAppear]");
}

@end

@implementation NSObject (NSNibAwaking)
- (void)awakeFromNib {
  standin::appKitCall("-[NSObject awakeFromNib]");
}
@end
