#pragma once

#import <FlutterMacOS/FlutterBinaryMessenger.h>
#import <FlutterMacOS/FlutterPluginRegistrarMacOS.h>

@class FlutterDartProject;

@interface FlutterEngine : NSObject <FlutterPluginRegistry>
- (nonnull instancetype)initWithName:(nonnull NSString*)labelPrefix
                             project:(nullable FlutterDartProject*)project
              allowHeadlessExecution:(BOOL)allowHeadlessExecution NS_DESIGNATED_INITIALIZER;
- (nonnull instancetype)init NS_UNAVAILABLE;

- (BOOL)runWithEntrypoint:(nullable NSString*)entrypoint;
- (void)shutDownEngine;

// Usable before the engine runs, and after it has gone, when it does nothing.
@property(nonatomic, nonnull, readonly) id<FlutterBinaryMessenger> binaryMessenger;
@end
