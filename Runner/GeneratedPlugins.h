#pragma once

#include "platform/Flutter.h"

namespace quorvin {

// Registers the plug-ins that the user interface was built with. Main thread.
void registerGeneratedPlugins(FlutterViewController& registry);

}  // namespace quorvin
