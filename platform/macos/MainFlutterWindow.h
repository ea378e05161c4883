#pragma once

#import <AppKit/AppKit.h>

// The application's window, named by the main nib.
@interface MainFlutterWindow : NSWindow
@end
