#include "Runner/AppDelegate.h"

#include "Runner/UnattendedAccess.h"

namespace quorvin {

namespace {

constexpr auto unattendedRefused =
    "Quorvin unattended access is not enabled. Run --install-unattended first.\n";
constexpr int unattendedRefusedStatus = 2;

}  // namespace

AppDelegate::AppDelegate(Platform& platform) : platform(platform) {
  if (const auto status = UnattendedAccess::handleCommandIfPresent(platform)) {
    platform.process.exit(*status);
  }
  if (!UnattendedAccess::unattendedRequested(platform) ||
      UnattendedAccess::authorizedRun(platform)) {
    return;
  }
  platform.process.writeToStandardError(unattendedRefused);
  platform.process.exit(unattendedRefusedStatus);
}

void AppDelegate::applicationDidFinishLaunching(
    const std::function<void()>& superApplicationDidFinishLaunching) {
  if (UnattendedAccess::unattendedRequested(platform) ||
      UnattendedAccess::managementCommandRequested(platform)) {
    platform.application.setActivationPolicy(ActivationPolicy::accessory);
  }
  superApplicationDidFinishLaunching();
  if (!UnattendedAccess::authorizedRun(platform)) return;
  // Later, so that it sees the windows that are made while launching finishes.
  platform.dispatch.mainQueue()->async([&platform = platform] {
    for (auto* window : platform.application.windows()) window->orderOut();
  });
}

bool AppDelegate::applicationShouldTerminateAfterLastWindowClosed() {
  return !UnattendedAccess::authorizedRun(platform);
}

bool AppDelegate::applicationSupportsSecureRestorableState() {
  return true;
}

}  // namespace quorvin
