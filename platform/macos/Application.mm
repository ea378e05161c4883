#import "platform/macos/Application.h"

#include <utility>

#import "platform/macos/NibClasses.h"

namespace quorvin {

int MacApplication::run(int argc, char** argv, ApplicationFactories factories) {
  nibFactories() = std::move(factories);
  const int status = NSApplicationMain(argc, const_cast<const char**>(argv));
  nibFactories() = {};
  return status;
}

bool MacApplication::exists() { return NSApp != nil; }

bool MacApplication::isHidden() { return [NSApp isHidden]; }

bool MacApplication::isActive() { return [NSApp isActive]; }

void MacApplication::setActivationPolicy(ActivationPolicy policy) {
  switch (policy) {
    case ActivationPolicy::regular:
      [NSApp setActivationPolicy:NSApplicationActivationPolicyRegular];
      return;
    case ActivationPolicy::accessory:
      [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
      return;
    case ActivationPolicy::prohibited:
      [NSApp setActivationPolicy:NSApplicationActivationPolicyProhibited];
      return;
  }
}

std::vector<Window*> MacApplication::windows() {
  listedWindows.clear();
  std::vector<Window*> list;
  for (NSWindow* window in NSApp.windows) {
    list.push_back(listedWindows.emplace_back(std::make_unique<MacWindow>(window)).get());
  }
  return list;
}

}  // namespace quorvin
