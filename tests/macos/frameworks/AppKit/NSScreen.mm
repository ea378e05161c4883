#import <AppKit/NSScreen.h>
#import <AppKit/NSScreenControl.h>

#include "tests/macos/standin/CallLog.h"

namespace {

NSScreen* currentMainScreen = nil;

}  // namespace

@implementation NSScreen {
 @public
  NSDictionary<NSDeviceDescriptionKey, id>* _description;
}

+ (NSScreen*)mainScreen {
  standin::record("+[NSScreen mainScreen]");
  standin::requireMainThread("+[NSScreen mainScreen]");
  return currentMainScreen;
}

- (NSDictionary<NSDeviceDescriptionKey, id>*)deviceDescription {
  standin::record("-[NSScreen deviceDescription]");
  standin::requireMainThread("-[NSScreen deviceDescription]");
  return _description;
}

@end

namespace standin {

void setMainScreen(NSDictionary<NSString*, id>* deviceDescription) {
  currentMainScreen = deviceDescription == nil ? nil : [[NSScreen alloc] init];
  if (currentMainScreen != nil) currentMainScreen->_description = [deviceDescription copy];
}

void resetScreens() { currentMainScreen = nil; }

}  // namespace standin
