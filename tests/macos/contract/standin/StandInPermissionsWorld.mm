#import <ApplicationServices/ApplicationServicesControl.h>
#import <CoreGraphics/CoreGraphicsControl.h>
#import <SystemConfiguration/SystemConfigurationControl.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/macos/Permissions.h"
#include "tests/contract/PermissionsContract.h"

namespace quorvin::contract {
namespace {

class StandInPermissionsWorld final : public PermissionsWorld {
 public:
  ~StandInPermissionsWorld() override {
    standin::resetCoreGraphics();
    standin::resetApplicationServices();
    standin::resetSystemConfiguration();
  }

  void decide(bool screenRecording, bool accessibility) override {
    standin::setScreenCapturePreflight(screenRecording);
    standin::setScreenCaptureRequest(screenRecording);
    standin::setProcessTrusted(accessibility);
  }
  void nameComputer(const std::optional<std::string>& name) override {
    standin::setComputerName(name);
  }
  Permissions& permissions() override { return macPermissions; }
  void runElsewhere(const std::function<void()>& work) override {
    std::thread([&] {
      @autoreleasepool {
        work();
      }
    }).join();
  }

 private:
  MacPermissions macPermissions;
};

const auto frameworks = testing::Values(WorldKind<PermissionsWorld>{
    "Frameworks", [] { return std::make_unique<StandInPermissionsWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, PermissionsContract, frameworks, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, SeparatePermissionsContract, frameworks, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, NamelessComputerContract, frameworks, nameOfWorld);

}  // namespace quorvin::contract
