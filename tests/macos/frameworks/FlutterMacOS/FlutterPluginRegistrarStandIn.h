#pragma once

#import <FlutterMacOS/FlutterEngine.h>

// What an engine hands to a plug-in.
@interface FlutterPluginRegistrarStandIn : NSObject <FlutterPluginRegistrar>
- (nonnull instancetype)initWithKey:(nonnull NSString*)key;
@property(nonatomic, nonnull, readonly) NSString* key;
@end

namespace standin {

// Records that a plug-in registered itself, and with which registrar.
void recordRegistration(const char* _Nonnull method,
                        id<FlutterPluginRegistrar> _Nullable registrar);

}  // namespace standin
