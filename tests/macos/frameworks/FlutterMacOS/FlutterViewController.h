#pragma once

#import <AppKit/AppKit.h>
#import <FlutterMacOS/FlutterEngine.h>

// The engine runs from when the view first appears.
@interface FlutterViewController : NSViewController <FlutterPluginRegistry>
- (nonnull instancetype)initWithNibName:(nullable NSString*)nibNameOrNil
                                 bundle:(nullable NSBundle*)nibBundleOrNil
    NS_DESIGNATED_INITIALIZER;

@property(nonatomic, nonnull, readonly) FlutterEngine* engine;
@end
