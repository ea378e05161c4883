#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "platform/Platform.h"
#include "platform/linux/capture/ScreenCapture.h"
#include "platform/linux/dispatch/Dispatch.h"
#include "platform/linux/input/GuardianJournal.h"
#include "platform/linux/input/InputEvents.h"
#include "platform/linux/jpeg/ImageEncoder.h"
#include "platform/linux/link/Flutter.h"
#include "platform/linux/system/Files.h"
#include "platform/linux/system/Permissions.h"
#include "platform/linux/system/Process.h"
#include "platform/linux/system/PropertyList.h"
#include "platform/linux/system/Text.h"
#include "platform/linux/system/UserDefaults.h"
#include "platform/linux/ui/Application.h"
#include "platform/linux/ui/NotificationCenter.h"
#include "platform/linux/video/VideoEncoder.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/MainLoopSource.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin {
namespace {

// Those of this program and its user interface until both wait for something to do, and a few to
// spare: GTK makes some in between.
constexpr std::size_t threadsToStartWith = 16;

// The arguments as the kernel keeps them, so that nobody has to hand them down (proc(5)).
std::vector<std::string> processArguments() {
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::vector<std::string> arguments;
  for (std::string argument; std::getline(file, argument, '\0');) arguments.push_back(argument);
  return arguments;
}

std::string executable() {
  return LinuxFiles::executableOfProcess().value_or("/usr/bin/quorvin-support").string();
}

std::string besideExecutable(const char* name) {
  return std::filesystem::path(executable()).replace_filename(name);
}

class LinuxPlatform {
 public:
  LinuxPlatform()
      : userDefaults(LinuxUserDefaults::pathFromEnvironment()),
        process(processArguments(), ActivityServices::fromEnvironment(),
                LinuxProcess::launchctlFromEnvironment(executable()), &userDefaults.lock()),
        permissions(process, PermissionsEnvironment::fromEnvironment()),
        application(mainContext.get(), dispatch, notificationCenter,
                    {.begin = [this] { inputEvents.open(); },
                     .isReady = [this] { return permissions.areKnown() && inputEvents.isReady(); },
                     .endWithin =
                         [this](auto limit) {
                           inputEvents.endWithin(limit);
                         }}) {}

  Platform& platform() { return all; }

 private:
  MainContext mainContext;
  LinuxDispatch dispatch;
  LinuxUserDefaults userDefaults;
  LinuxProcess process;
  LinuxPropertyList propertyList;
  LinuxText text;
  LinuxPermissions permissions;
  LinuxImageEncoder imageEncoder;
  // Of the thread that remote input has.
  GlibPtr<GMainContext> inputContext{g_main_context_new()};
  GuardianJournal inputJournal{inputContext.get(), besideExecutable("quorvin-input-guardian")};
  LinuxInputEvents inputEvents{PermissionsEnvironment::fromEnvironment().display, inputJournal,
                               inputContext.get()};
  LinuxScreenCapture screenCapture;
  LinuxVideoEncoder videoEncoder;
  LinuxFiles files{LinuxFiles::executableOfProcess(), &userDefaults.lock()};
  LinuxFlutter flutter;
  LinuxNotificationCenter notificationCenter;
  LinuxApplication application;
  Platform all{.application = application,
               .dispatch = dispatch,
               .files = files,
               .flutter = flutter,
               .imageEncoder = imageEncoder,
               .inputEvents = inputEvents,
               .notificationCenter = notificationCenter,
               .permissions = permissions,
               .process = process,
               .propertyList = propertyList,
               .screenCapture = screenCapture,
               .text = text,
               .userDefaults = userDefaults,
               .videoEncoder = videoEncoder};
};

LinuxPlatform& makePlatform() {
  prepareProcess();
  const auto arguments = processArguments();
  if (arguments.size() == 2 && printVersion(arguments[1])) std::exit(EXIT_SUCCESS);
  nameDisplayAuthority();
  try {
    requireThreads(threadsToStartWith);
    return *new LinuxPlatform;
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "quorvin-support: %s\n", error.what());
    std::exit(EXIT_FAILURE);
  }
}

}  // namespace

Platform& hostPlatform() {
  // Never destroyed: a thread that is stuck in a call of the system when the process ends may still
  // report back to any part of it.
  static auto& host = makePlatform();
  return host.platform();
}

}  // namespace quorvin
