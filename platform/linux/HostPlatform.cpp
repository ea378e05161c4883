#include <fstream>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/linux/Application.h"
#include "platform/linux/Dispatch.h"
#include "platform/linux/Flutter.h"
#include "platform/linux/ImageEncoder.h"
#include "platform/linux/Permissions.h"
#include "platform/linux/Process.h"
#include "platform/linux/ScreenCapture.h"
#include "platform/linux/Text.h"
#include "platform/linux/UserDefaults.h"

namespace quorvin {
namespace {

// The arguments as the kernel keeps them, so that nobody has to hand them down (proc(5)).
std::vector<std::string> processArguments() {
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::vector<std::string> arguments;
  for (std::string argument; std::getline(file, argument, '\0');) arguments.push_back(argument);
  return arguments;
}

// Destroyed in the reverse order: whoever may still have a task to give goes before the queues.
class LinuxPlatform {
 public:
  LinuxPlatform()
      : process(processArguments(), ActivityServices::fromEnvironment()),
        userDefaults(LinuxUserDefaults::pathFromEnvironment()),
        permissions(process, PermissionsEnvironment::fromEnvironment()),
        application(dispatch) {}

  Platform& platform() { return all; }

 private:
  LinuxDispatch dispatch;
  LinuxProcess process;
  LinuxText text;
  LinuxUserDefaults userDefaults;
  LinuxPermissions permissions;
  LinuxImageEncoder imageEncoder;
  LinuxScreenCapture screenCapture;
  LinuxFlutter flutter;
  LinuxApplication application;
  Platform all{.application = application,
               .dispatch = dispatch,
               .flutter = flutter,
               .imageEncoder = imageEncoder,
               .permissions = permissions,
               .process = process,
               .screenCapture = screenCapture,
               .text = text,
               .userDefaults = userDefaults};
};

}  // namespace

Platform& hostPlatform() {
  static LinuxPlatform host;
  return host.platform();
}

}  // namespace quorvin
