#import <FlutterMacOS/FlutterMacOS.h>
#import <FlutterMacOS/FlutterPluginRegistrarStandIn.h>
#import <file_selector_macos/file_selector_macos-Swift.h>

@implementation FileSelectorPlugin

+ (void)registerWithRegistrar:(id<FlutterPluginRegistrar>)registrar {
  standin::recordRegistration("+[FileSelectorPlugin registerWithRegistrar:]", registrar);
}

@end
