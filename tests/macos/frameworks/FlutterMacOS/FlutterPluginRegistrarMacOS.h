#pragma once

#import <FlutterMacOS/FlutterBinaryMessenger.h>

@protocol FlutterPluginRegistrar <NSObject>
@end

@protocol FlutterPluginRegistry <NSObject>
- (nonnull id<FlutterPluginRegistrar>)registrarForPlugin:(nonnull NSString*)pluginKey;
@end
