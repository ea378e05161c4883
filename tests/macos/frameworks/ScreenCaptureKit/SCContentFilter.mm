#import <ScreenCaptureKit/SCContentFilter.h>

#include <string>

#include "tests/macos/standin/CallLog.h"

@implementation SCContentFilter {
  SCDisplay* _display;
  NSArray<SCWindow*>* _excluded;
}

- (instancetype)initWithDisplay:(SCDisplay*)display excludingWindows:(NSArray<SCWindow*>*)excluded {
  standin::record("-[SCContentFilter initWithDisplay:excludingWindows:]",
                  {std::to_string(display.displayID), std::to_string(excluded.count)});
  if (display == nil || excluded == nil) standin::violation("an SCContentFilter made with nil");
  self = [super init];
  if (self) {
    _display = display;
    _excluded = [excluded copy];
  }
  return self;
}

- (SCDisplay*)display {
  return _display;
}

- (size_t)excludedWindowCount {
  return _excluded.count;
}

@end
