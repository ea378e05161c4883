#include "Runner/GeneratedPlugins.h"

namespace quorvin {

void registerGeneratedPlugins(FlutterViewController& registry) {
  registry.registerPlugin("FileSelectorPlugin");
  registry.registerPlugin("SharedPreferencesPlugin");
}

}  // namespace quorvin
