#import <ScreenCaptureKit/SCShareableContent.h>

#import <ScreenCaptureKit/CaptureState.h>

#include "tests/macos/standin/CallLog.h"

@implementation SCDisplay

- (instancetype)initWithScript:(const standin::DisplayScript&)script {
  self = [super init];
  if (self) {
    _displayID = script.displayID;
    _width = script.width;
    _height = script.height;
  }
  return self;
}

@end

@implementation SCShareableContent

- (instancetype)initWithDisplays:(NSArray<SCDisplay*>*)displays {
  self = [super init];
  if (self) _displays = displays;
  return self;
}

+ (instancetype)contentWithScript:(const standin::ShareableContentScript&)script {
  if (!script.hasContent) return nil;
  NSMutableArray<SCDisplay*>* displays = [[NSMutableArray alloc] init];
  for (const auto& display : script.displays) {
    [displays addObject:[[SCDisplay alloc] initWithScript:display]];
  }
  return [[self alloc] initWithDisplays:displays];
}

+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludeDesktopWindows
                               onScreenWindowsOnly:(BOOL)onScreenWindowsOnly
                                 completionHandler:
                                     (void (^)(SCShareableContent*, NSError*))completionHandler {
  const auto* const operation =
      "+[SCShareableContent getShareableContentExcludingDesktopWindows:onScreenWindowsOnly:"
      "completionHandler:]";
  standin::record(operation,
                  {excludeDesktopWindows ? "YES" : "NO", onScreenWindowsOnly ? "YES" : "NO"});
  if (completionHandler == nil) {
    return standin::violation(std::string(operation) + " without a handler");
  }
  standin::captureState().answers.give([completionHandler] {
    const auto script = standin::captureState().content();
    completionHandler([SCShareableContent contentWithScript:script],
                      script.error ? standin::makeError(*script.error) : nil);
  });
}

@end
