#pragma once

// What the Swift compiler writes for the plug-in's module, with its classes under the names that
// they have at run time. Like the real file it expects <FlutterMacOS/FlutterMacOS.h> before it.

__attribute__((objc_runtime_name("_TtC29shared_preferences_foundation23SharedPreferencesPlugin")))
@interface SharedPreferencesPlugin : NSObject<FlutterPlugin>
+ (void)registerWithRegistrar:(id<FlutterPluginRegistrar> _Nonnull)registrar;
@end
