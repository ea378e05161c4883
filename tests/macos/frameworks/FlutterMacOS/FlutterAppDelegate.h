#pragma once

#import <AppKit/AppKit.h>

// Implements only what Flutter's does: above all not applicationDidFinishLaunching:. Once the user
// interface has said that it wants to be asked, it calls a termination off, asks, and terminates
// again if the answer allows it.
@interface FlutterAppDelegate : NSObject <NSApplicationDelegate>
@property(weak, nonatomic, nullable) NSWindow* mainFlutterWindow;
@end
