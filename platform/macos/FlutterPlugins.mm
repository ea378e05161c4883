#import "platform/macos/FlutterPlugins.h"

// The plug-ins are written in Swift. Without modules, what the compiler writes for them does not
// bring Flutter's own declarations along: these come first.
#import <file_selector_macos/file_selector_macos-Swift.h>
#import <shared_preferences_foundation/shared_preferences_foundation-Swift.h>

#include "platform/Fatal.h"

namespace quorvin {
namespace {

struct Plugin {
  std::string_view key;
  void (*registerWith)(id<FlutterPluginRegistrar> registrar);
};

constexpr Plugin plugins[] = {
    {"FileSelectorPlugin",
     [](id<FlutterPluginRegistrar> registrar) {
       [FileSelectorPlugin registerWithRegistrar:registrar];
     }},
    {"SharedPreferencesPlugin",
     [](id<FlutterPluginRegistrar> registrar) {
       [SharedPreferencesPlugin registerWithRegistrar:registrar];
     }},
};

}  // namespace

void registerFlutterPlugin(std::string_view key, id<FlutterPluginRegistrar> registrar) {
  for (const auto& plugin : plugins) {
    if (plugin.key == key) return plugin.registerWith(registrar);
  }
  fatalError("The program was built without the plug-in that it registers.");
}

}  // namespace quorvin
