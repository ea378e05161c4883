#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Runner/MainFlutterWindow.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MainFlutterWindowTest : public testing::Test {
 protected:
  void awake() {
    mainWindow->awakeFromNib([this] { window.calls.emplace_back("superAwakeFromNib"); });
  }
  // What the user interface was told since the last time, once everything has settled.
  std::vector<std::string> told() {
    machine.dispatch.runUntilIdle();
    std::vector<std::string> texts;
    for (auto& [channel, text] : std::exchange(machine.flutter.messenger->messages, {})) {
      EXPECT_EQ(channel, "flutter/lifecycle");
      texts.push_back(text);
    }
    return texts;
  }

  fakes::FakeMachine machine;
  fakes::FakeWindow window;
  std::shared_ptr<MainFlutterWindow> mainWindow = MainFlutterWindow::make(machine.platform, window);
};

TEST_F(MainFlutterWindowTest, SetsTheWindowUpInOrder) {
  EXPECT_THAT(window.calls, IsEmpty());
  awake();
  EXPECT_THAT(window.calls, ElementsAre("setContentViewController", "setContentSize", "center",
                                        "setContentMinSize", "setTitle", "superAwakeFromNib"));
  EXPECT_EQ(window.contentSize, (Size{720, 640}));
  EXPECT_EQ(window.contentMinSize, (Size{720, 640}));
  EXPECT_EQ(window.title, "Quorvin Support");
  EXPECT_NE(window.controller, nullptr);
}

TEST_F(MainFlutterWindowTest, RegistersThePluginsInOrder) {
  awake();
  EXPECT_THAT(machine.flutter.plugins,
              ElementsAre("FileSelectorPlugin", "SharedPreferencesPlugin"));
}

TEST_F(MainFlutterWindowTest, MakesTheBridgeOnTheEnginesMessenger) {
  awake();
  EXPECT_EQ(machine.flutter.messenger->methodHandlers.count("com.quorvin.support/host"), 1U);
}

TEST_F(MainFlutterWindowTest, HidesItselfInAnUnattendedRun) {
  machine.process.argumentList.emplace_back("--unattended");
  awake();
  EXPECT_EQ(window.alpha, 0);
  EXPECT_THAT(window.calls, ElementsAre("setContentViewController", "setContentSize", "center",
                                        "setContentMinSize", "setTitle", "setAlphaValue",
                                        "orderOut", "superAwakeFromNib"));
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.hidden"));
}

TEST_F(MainFlutterWindowTest, HidesItselfInAManagementRun) {
  machine.process.argumentList.emplace_back("--status-unattended");
  awake();
  EXPECT_EQ(window.alpha, 0);
  EXPECT_FALSE(window.visible);
}

TEST_F(MainFlutterWindowTest, StaysVisibleForAnArgumentThatDiffersInLetterCase) {
  machine.process.argumentList.emplace_back("--Unattended");
  awake();
  EXPECT_EQ(window.alpha, 1);
  EXPECT_TRUE(window.visible);
}

TEST_F(MainFlutterWindowTest, StaysVisibleForAnArgumentThatCarriesAValue) {
  machine.process.argumentList.emplace_back("--unattended=yes");
  awake();
  EXPECT_EQ(window.alpha, 1);
  EXPECT_TRUE(window.visible);
}

TEST_F(MainFlutterWindowTest, TellsTheFirstStateAfterTheTurnInWhichItWasLoaded) {
  awake();
  EXPECT_THAT(machine.flutter.messenger->messages, IsEmpty());
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.resumed"));
}

TEST_F(MainFlutterWindowTest, SubscribesToNineNotificationsInOrder) {
  awake();
  std::vector<std::pair<Notification, NotificationSender*>> subscriptions;
  for (const auto& observer : machine.notificationCenter.observers) {
    subscriptions.emplace_back(observer->name, observer->sender);
  }
  NotificationSender* application = &machine.application;
  EXPECT_THAT(subscriptions,
              ElementsAre(std::pair(Notification::applicationDidBecomeActive, application),
                          std::pair(Notification::applicationDidResignActive, application),
                          std::pair(Notification::applicationDidHide, application),
                          std::pair(Notification::applicationDidUnhide, application),
                          std::pair(Notification::applicationDidChangeOcclusionState, application),
                          std::pair(Notification::windowDidBecomeKey, &window),
                          std::pair(Notification::windowDidMiniaturize, &window),
                          std::pair(Notification::windowDidDeminiaturize, &window),
                          std::pair(Notification::windowDidChangeOcclusionState, &window)));
}

TEST_F(MainFlutterWindowTest, ListensToAnySenderWhileThereIsNoApplicationObject) {
  machine.application.made = false;
  awake();
  for (const auto& observer : machine.notificationCenter.observers) {
    const bool isOfWindow = observer->name >= Notification::windowDidBecomeKey;
    EXPECT_EQ(observer->sender, isOfWindow ? &window : nullptr);
  }
  machine.application.made = true;
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.resumed"));
}

TEST_F(MainFlutterWindowTest, ReadsTheStateATurnAfterTheNotification) {
  awake();
  told();
  machine.notificationCenter.post(Notification::applicationDidResignActive, &machine.application);
  machine.application.active = false;  // settles only now
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.inactive"));
}

TEST_F(MainFlutterWindowTest, TellsTheSameStateAgain) {
  awake();
  told();
  machine.notificationCenter.post(Notification::windowDidBecomeKey, &window);
  machine.notificationCenter.post(Notification::windowDidDeminiaturize, &window);
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.resumed", "AppLifecycleState.resumed"));
}

TEST_F(MainFlutterWindowTest, IsHiddenWhenCoveredInAnInactiveApplication) {
  machine.application.active = false;
  window.occlusion = 0;
  awake();
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.hidden"));
}

TEST_F(MainFlutterWindowTest, IsResumedWhenCoveredInTheActiveApplication) {
  window.occlusion = 0;
  awake();
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.resumed"));
}

TEST_F(MainFlutterWindowTest, IsInactiveWhenPartlySeenAmongOtherBits) {
  machine.application.active = false;
  window.occlusion = 0xFF;
  awake();
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.inactive"));
  window.occlusion = ~windowOcclusionStateVisible;
  machine.notificationCenter.post(Notification::windowDidChangeOcclusionState, &window);
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.hidden"));
}

TEST_F(MainFlutterWindowTest, IsHiddenWhenMinimisedEvenInTheActiveApplication) {
  window.miniaturized = true;
  awake();
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.hidden"));
}

TEST_F(MainFlutterWindowTest, IsHiddenWithTheApplicationAndWithTheWindow) {
  machine.application.hidden = true;
  awake();
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.hidden"));
  machine.application.hidden = false;
  window.visible = false;
  machine.notificationCenter.post(Notification::applicationDidUnhide, &machine.application);
  EXPECT_THAT(told(), ElementsAre("AppLifecycleState.hidden"));
}

TEST_F(MainFlutterWindowTest, RemovesItsObserversInOrderWhenItGoes) {
  awake();
  told();
  std::vector<std::shared_ptr<NotificationObserver>> added(
      machine.notificationCenter.observers.begin(), machine.notificationCenter.observers.end());
  machine.notificationCenter.post(Notification::windowDidMiniaturize, &window);
  mainWindow.reset();
  EXPECT_EQ(machine.notificationCenter.removed, added);
  EXPECT_THAT(told(), IsEmpty()) << "the notification that was under way";
}

using MainFlutterWindowDeathTest = MainFlutterWindowTest;

TEST_F(MainFlutterWindowDeathTest, NeedsTheApplicationObjectToTellAState) {
  machine.application.made = false;
  awake();
  EXPECT_DEATH(told(), "application object");
}

}  // namespace
}  // namespace quorvin
