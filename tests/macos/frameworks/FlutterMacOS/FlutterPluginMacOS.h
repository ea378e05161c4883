#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@protocol FlutterPluginRegistrar;

@protocol FlutterPlugin <NSObject>
+ (void)registerWithRegistrar:(id<FlutterPluginRegistrar>)registrar;
@end

NS_ASSUME_NONNULL_END
