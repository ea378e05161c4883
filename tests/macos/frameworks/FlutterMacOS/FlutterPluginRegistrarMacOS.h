#pragma once

#import <FlutterMacOS/FlutterBinaryMessenger.h>

@protocol FlutterPluginRegistrar <NSObject>
@property(nonnull, readonly) id<FlutterBinaryMessenger> messenger;
@end

@protocol FlutterPluginRegistry <NSObject>
- (nonnull id<FlutterPluginRegistrar>)registrarForPlugin:(nonnull NSString*)pluginKey;
@end
