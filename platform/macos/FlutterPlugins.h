#pragma once

#import <FlutterMacOS/FlutterMacOS.h>

#include <string_view>

namespace quorvin {

// Lets the plug-in of that registrar key register itself; stops the process when the program was
// built without such a plug-in. Main thread.
void registerFlutterPlugin(std::string_view key, id<FlutterPluginRegistrar> _Nonnull registrar);

}  // namespace quorvin
