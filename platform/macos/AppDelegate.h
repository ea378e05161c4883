#pragma once

#import <FlutterMacOS/FlutterMacOS.h>

// The application's delegate, named by the main nib. Its part of the program may end the process
// while it is being made.
@interface AppDelegate : FlutterAppDelegate
@end
