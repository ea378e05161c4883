#pragma once

#include <memory>
#include <vector>

#include "platform/Platform.h"
#include "tests/fakes/FakeApplication.h"
#include "tests/fakes/FakeFiles.h"
#include "tests/fakes/FakeFlutter.h"
#include "tests/fakes/FakeImageEncoder.h"
#include "tests/fakes/FakeInputEvents.h"
#include "tests/fakes/FakeProcess.h"
#include "tests/fakes/FakeScreenCapture.h"
#include "tests/fakes/FakeSettings.h"
#include "tests/fakes/FakeVideoEncoder.h"
#include "tests/fakes/SimulatedDispatch.h"

namespace quorvin::fakes {

// A whole machine under the test's control: one display of 1440 x 900 points, both permissions
// granted, unattended access off.
struct FakeMachine {
  explicit FakeMachine(std::uint64_t seed = 1, bool randomLeeway = false)
      : dispatch(seed, randomLeeway), screenCapture(dispatch), videoEncoder(dispatch) {
    screenCapture.setDisplays({std::make_shared<FakeDisplay>(1, 1440, 900)});
    inputEvents.displays[1] = {.isActive = true, .bounds = {{0, 0}, {1440, 900}}};
  }

  FakeMachine(const FakeMachine&) = delete;
  FakeMachine& operator=(const FakeMachine&) = delete;
  ~FakeMachine() {
    flutter.messenger->shutDown();
    screenCapture.dropHeldRequests();
    dispatch.runUntilIdle();
  }

  SimulatedDispatch dispatch;
  FakeApplication application;
  FakeFiles files;
  FakeFlutter flutter;
  FakeImageEncoder imageEncoder;
  FakeInputEvents inputEvents;
  FakeNotificationCenter notificationCenter;
  FakePermissions permissions;
  FakeProcess process;
  FakePropertyList propertyList;
  FakeScreenCapture screenCapture;
  FakeText text;
  FakeUserDefaults userDefaults;
  FakeVideoEncoder videoEncoder;
  Platform platform{.application = application,
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

  // Everything that was done against the contract of a fake.
  [[nodiscard]] std::vector<std::string> violations() const {
    auto all = process.violations;
    all.insert(all.end(), screenCapture.violations.begin(), screenCapture.violations.end());
    all.insert(all.end(), videoEncoder.violations.begin(), videoEncoder.violations.end());
    return all;
  }
  void authorizeUnattended(const std::string& name) {
    process.argumentList.emplace_back("--unattended");
    userDefaults.booleans["unattendedAccessEnabled"] = true;
    userDefaults.strings["unattendedAccessDeviceName"] = name;
  }
};

}  // namespace quorvin::fakes
