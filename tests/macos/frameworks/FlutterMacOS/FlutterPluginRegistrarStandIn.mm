#import <FlutterMacOS/FlutterPluginRegistrarStandIn.h>

#include "tests/macos/standin/CallLog.h"

@implementation FlutterPluginRegistrarStandIn

- (instancetype)initWithKey:(NSString*)key {
  self = [super init];
  if (self != nil) _key = [key copy];
  return self;
}

@end

void standin::recordRegistration(const char* method, id<FlutterPluginRegistrar> registrar) {
  requireMainThread(method);
  if (![registrar isKindOfClass:[FlutterPluginRegistrarStandIn class]]) {
    return violation(std::string(method) + " was given something other than a registrar.");
  }
  record(method, {static_cast<FlutterPluginRegistrarStandIn*>(registrar).key.UTF8String});
}
