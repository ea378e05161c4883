#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "Runner/AppDelegate.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {
namespace {

using fakes::FakeMachine;
using fakes::FakeWindow;
using testing::ElementsAre;
using testing::IsEmpty;

// With which the process exits while the delegate is made; nothing when it goes on.
std::optional<int> exitStatusOfDelegate(FakeMachine& machine) {
  try {
    const AppDelegate delegate(machine.platform);
  } catch (const fakes::ProcessExited& exited) {
    return exited.status;
  }
  return std::nullopt;
}

TEST(AppDelegate, RunsInteractivelyWithoutArguments) {
  FakeMachine machine;
  AppDelegate delegate(machine.platform);
  FakeWindow window;
  machine.application.windowList = {&window};
  int superCalls = 0;
  delegate.applicationDidFinishLaunching([&] { ++superCalls; });
  EXPECT_EQ(superCalls, 1);
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(machine.application.policy, std::nullopt);
  EXPECT_THAT(window.calls, IsEmpty());
  EXPECT_TRUE(delegate.applicationShouldTerminateAfterLastWindowClosed());
  EXPECT_TRUE(delegate.applicationSupportsSecureRestorableState());
}

TEST(AppDelegate, RunsAManagementCommandAndExitsWithItsStatus) {
  FakeMachine machine;
  machine.process.argumentList.emplace_back("--unattended");  // not enabled, and not asked
  machine.process.argumentList.emplace_back("--help-unattended");
  EXPECT_EQ(exitStatusOfDelegate(machine), 0);
  EXPECT_EQ(machine.process.standardError, "");
  machine.process.argumentList.emplace_back("--install-unattended");
  machine.files.bundle = "/Volumes/Quorvin Support.app";
  EXPECT_EQ(exitStatusOfDelegate(machine), 1);
}

TEST(AppDelegate, RefusesAnUnattendedRunThatIsNotEnabled) {
  FakeMachine machine;
  machine.process.argumentList.emplace_back("--unattended");
  EXPECT_EQ(exitStatusOfDelegate(machine), 2);
  EXPECT_EQ(machine.process.standardError,
            "Quorvin unattended access is not enabled. Run --install-unattended first.\n");
  EXPECT_EQ(machine.process.standardErrorWrites.size(), 1U);
}

TEST(AppDelegate, HidesAnUnattendedRunAndKeepsItRunning) {
  FakeMachine machine;
  machine.authorizeUnattended("Workshop");
  AppDelegate delegate(machine.platform);
  FakeWindow first;
  FakeWindow second;
  std::optional<ActivationPolicy> policyAtSuper;
  delegate.applicationDidFinishLaunching([&] {
    policyAtSuper = machine.application.policy;
    machine.application.windowList = {&first};
    machine.dispatch.runUntilIdle();  // nothing has been deferred yet
  });
  EXPECT_EQ(policyAtSuper, ActivationPolicy::accessory);
  EXPECT_THAT(first.calls, IsEmpty());
  machine.application.windowList = {&first, &second};  // made while launching finishes
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(first.calls, ElementsAre("orderOut"));
  EXPECT_THAT(second.calls, ElementsAre("orderOut"));
  EXPECT_FALSE(delegate.applicationShouldTerminateAfterLastWindowClosed());
  EXPECT_TRUE(delegate.applicationSupportsSecureRestorableState());
}

// A command has run and ended the process by then, unless its argument came up only now.
TEST(AppDelegate, IsAnAccessoryWhileAManagementCommandIsAskedForButHidesNoWindow) {
  for (const auto* command : {"--install-unattended", "--remove-unattended", "--status-unattended",
                              "--help-unattended"}) {
    FakeMachine machine;
    AppDelegate delegate(machine.platform);
    machine.process.argumentList.emplace_back(command);
    FakeWindow window;
    machine.application.windowList = {&window};
    std::optional<ActivationPolicy> policyAtSuper;
    delegate.applicationDidFinishLaunching([&] { policyAtSuper = machine.application.policy; });
    machine.dispatch.runUntilIdle();
    EXPECT_EQ(policyAtSuper, ActivationPolicy::accessory) << command;
    EXPECT_THAT(window.calls, IsEmpty()) << command;
  }
}

TEST(AppDelegate, HidesNothingWhenThereAreNoWindows) {
  FakeMachine machine;
  machine.authorizeUnattended("Workshop");
  AppDelegate delegate(machine.platform);
  delegate.applicationDidFinishLaunching([] {});
  machine.dispatch.runUntilIdle();
  EXPECT_FALSE(delegate.applicationShouldTerminateAfterLastWindowClosed());
}

}  // namespace
}  // namespace quorvin
