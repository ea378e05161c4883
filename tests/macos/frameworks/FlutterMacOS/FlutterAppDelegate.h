#pragma once

#import <AppKit/AppKit.h>

// Implements only what Flutter's does: above all not applicationDidFinishLaunching:.
@interface FlutterAppDelegate : NSObject <NSApplicationDelegate>
@property(weak, nonatomic, nullable) NSWindow* mainFlutterWindow;
@end
