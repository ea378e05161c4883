#import <FlutterMacOS/FlutterMacOS.h>
#import <FlutterMacOS/FlutterPluginRegistrarStandIn.h>
#import <shared_preferences_foundation/shared_preferences_foundation-Swift.h>

@implementation SharedPreferencesPlugin

+ (void)registerWithRegistrar:(id<FlutterPluginRegistrar>)registrar {
  standin::recordRegistration("+[SharedPreferencesPlugin registerWithRegistrar:]", registrar);
}

@end
