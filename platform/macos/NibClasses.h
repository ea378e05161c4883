#pragma once

#import <FlutterMacOS/FlutterMacOS.h>

#include "platform/Application.h"

namespace quorvin {

// What makes the program's part of the objects in the main nib. A nib gives its objects no
// arguments, so they find this by themselves. Set while the application runs; main thread.
ApplicationFactories& nibFactories();

}  // namespace quorvin

// The application's delegate, named by the main nib. Its part of the program may end the process
// while it is being made.
@interface AppDelegate : FlutterAppDelegate
@end

// The application's window, named by the main nib.
@interface MainFlutterWindow : NSWindow
@end
