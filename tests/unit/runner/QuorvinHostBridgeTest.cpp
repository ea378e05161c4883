#include <string>

#include "Runner/QuorvinHostBridge.h"
#include "tests/unit/runner/BridgeTest.h"
#include "tests/unit/runner/PictureSettingsArguments.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using HostBridgeTest = BridgeTest;

TEST(HostBridgeDeathTest, HasNoParameterlessInitializer) {
  EXPECT_DEATH(QuorvinHostBridge(),
               "unimplemented initializer 'init\\(\\)' for class "
               "'Quorvin_Support.QuorvinHostBridge'");
}

TEST_F(HostBridgeTest, InstallsItselfOnBothChannels) {
  EXPECT_EQ(messenger().methodHandlers.count("com.quorvin.support/host"), 1U);
  EXPECT_EQ(messenger().streamHandlers.count("com.quorvin.support/frames"), 1U);
}

TEST_F(HostBridgeTest, LivesAsLongAsTheEngineCanCallIt) {
  const std::weak_ptr<QuorvinHostBridge> weak = bridge;
  bridge.reset();
  EXPECT_FALSE(weak.expired());
  messenger().shutDown();
  EXPECT_TRUE(weak.expired());
}

TEST_F(HostBridgeTest, AnswersAnUnknownMethodAsNotImplemented) {
  for (const auto* method : {"", "Capabilities", "capabilities ", "CAPABILITIES", "shutdown"}) {
    expectReply(invokeAndRun(method), FlutterMethodNotImplemented());
  }
}

TEST_F(HostBridgeTest, PutsALinkOnTheDesktopAtOnce) {
  machine.files.addDirectory("/Users/someone/Desktop");
  expectReply(invoke("createDesktopShortcut", List{"ignored"}), nothing());
  EXPECT_TRUE(machine.files.hasItem("/Users/someone/Desktop/Quorvin Support.app"));
}

// ---- capabilities ----

TEST_F(HostBridgeTest, DescribesTheMachineLater) {
  const auto call = invoke("capabilities", List{"ignored"});
  EXPECT_EQ(call->replies, 0);
  EXPECT_THAT(machine.dispatch.globalQueueRequests, ElementsAre(QualityOfService::userInitiated));
  machine.dispatch.runUntilIdle();
  expectReply(call, Value(Map{{"platform", "macos"},
                              {"deviceName", "Front desk"},
                              {"screenShare", true},
                              {"remoteControl", true},
                              {"videoH264", true},
                              {"unattended", false},
                              {"unattendedName", ""}}));
}

TEST_F(HostBridgeTest, CallsAMachineWithoutANameMac) {
  const auto deviceName = [&] {
    const auto call = invokeAndRun("capabilities");
    return *std::get<Value>(call->reply).as<Map>()->find("deviceName")->as<std::string>();
  };
  machine.permissions.name = " \t\n\xE2\x80\x8B";
  EXPECT_EQ(deviceName(), "Mac");
  machine.permissions.name = "";
  EXPECT_EQ(deviceName(), "Mac");
  machine.permissions.name.reset();
  EXPECT_EQ(deviceName(), "Mac");
  machine.permissions.name = "\n Ada's  Mac ";
  EXPECT_EQ(deviceName(), "Ada's  Mac") << "only the ends are trimmed";
}

TEST_F(HostBridgeTest, ReportsUnattendedAccessAsItIsWhenTheReplyIsBuilt) {
  const auto call = invoke("capabilities");
  machine.authorizeUnattended("  Work  shop ");
  machine.dispatch.runUntilIdle();
  const auto* map = std::get<Value>(call->reply).as<Map>();
  EXPECT_EQ(*map->find("unattended"), Value(true));
  EXPECT_EQ(*map->find("unattendedName"), Value("Work shop"));
}

// ---- permissions ----

TEST_F(HostBridgeTest, ReadsPermissionsWithoutPrompting) {
  machine.permissions.accessibility = false;
  expectReply(invoke("permissions"),
              Value(Map{{"screenRecording", true}, {"accessibility", false}}));
  EXPECT_THAT(machine.permissions.calls,
              ElementsAre("preflightScreenCaptureAccess", "isProcessTrusted"));
}

TEST_F(HostBridgeTest, AsksForBothPermissionsAndThenReadsThemAfresh) {
  machine.permissions.screenRecording = false;
  expectReply(invoke("requestPermissions"),
              Value(Map{{"screenRecording", false}, {"accessibility", true}}));
  EXPECT_THAT(machine.permissions.calls,
              ElementsAre("requestScreenCaptureAccess", "isProcessTrustedWithOptions prompting",
                          "preflightScreenCaptureAccess", "isProcessTrusted"));
}

// ---- consent ----

TEST_F(HostBridgeTest, RefusesToStartWithoutConsent) {
  const auto refused = error("consent_required", "Local customer authorization is required.");
  for (const Value& arguments :
       {Value(), Value(List{true}), Value("locallyAuthorized"), Value(Map{}),
        Value(Map{{"locallyAuthorized", false}}), Value(Map{{"locallyAuthorized", "true"}}),
        Value(Map{{"locallyAuthorized", 1}}), Value(Map{{"locallyAuthorized", nullptr}}),
        Value(Map{{"locallyAuthorized", false}, {"unattended", true}}),
        Value(Map{{"locallyAuthorized", true}, {1, true}})}) {
    expectReply(invokeAndRun("startCapture", arguments), refused);
  }
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_THAT(machine.screenCapture.contentRequests, IsEmpty());
  EXPECT_THAT(machine.process.begunActivities, IsEmpty());
  EXPECT_THAT(machine.permissions.calls, IsEmpty()) << "consent comes before everything";
}

TEST_F(HostBridgeTest, StartsWithTheConsentOfThePersonAtTheMachine) {
  expectReply(startSession(), nothing());
  EXPECT_TRUE(bridge->hasSession());
}

TEST_F(HostBridgeTest, StartsUnattendedOnlyInAnAuthorizedRun) {
  const Map unattended{{"locallyAuthorized", false}, {"unattended", true}};
  machine.authorizeUnattended("Workshop");
  machine.userDefaults.booleans["unattendedAccessEnabled"] = false;
  expectReply(invokeAndRun("startCapture", unattended),
              error("consent_required", "Local customer authorization is required."));
  machine.userDefaults.booleans["unattendedAccessEnabled"] = true;
  expectReply(invokeAndRun("startCapture", Map{{"unattended", "true"}}),
              error("consent_required", "Local customer authorization is required."));
  expectReply(invokeAndRun("startCapture", unattended), nothing());
  EXPECT_TRUE(bridge->hasSession());
}

// ---- picture settings ----

TEST_F(HostBridgeTest, RefusesSettingsWithoutASession) {
  expectReply(invokeAndRun("configureStream", validPictureSettings()),
              error("bad_stream_settings", "Invalid picture settings."));
}

TEST_F(HostBridgeTest, RefusesBadSettingsAndChangesNothing) {
  startSession();
  for (const Value& arguments : {Value(), Value(List{}), Value(pictureSettingsWith("fps", 61)),
                                 Value(pictureSettingsWith("profile", "none"))}) {
    expectReply(invokeAndRun("configureStream", arguments),
                error("bad_stream_settings", "Invalid picture settings."));
  }
  EXPECT_THAT(stream()->updates, IsEmpty());
}

TEST_F(HostBridgeTest, AppliesGoodSettingsAndAnswersLater) {
  startSession();
  machine.screenCapture.completesUpdates = false;
  const auto call = invokeAndRun("configureStream", pictureSettingsWith("max_width", 720));
  EXPECT_EQ(call->replies, 0);
  ASSERT_EQ(stream()->updates.size(), 1U);
  EXPECT_EQ(stream()->updates[0].width, 720);
  stream()->completeUpdate();
  machine.dispatch.runUntilIdle();
  expectReply(call, nothing());
}

TEST_F(HostBridgeTest, PassesOnWhyTheCaptureRefusedTheSettings) {
  startSession();
  machine.screenCapture.updateError = Error("system", -3810, "The system said no.");
  expectReply(invokeAndRun("configureStream", validPictureSettings()),
              error("stream_settings_failed", "The system said no."));
}

TEST_F(HostBridgeTest, AnswersSettingsForACaptureThatHasEndedByItself) {
  startSession();
  stream()->stopWithError(Error("system", -3821, "Gone."));
  // The capture has ended, and the bridge has not heard of it yet.
  machine.dispatch.runOneOf(machine.dispatch.systemThreads());
  machine.dispatch.runOneOf(machine.dispatch.mainThread());
  ASSERT_TRUE(bridge->hasSession());
  expectReply(invokeAndRun("configureStream", validPictureSettings()),
              error("stream_settings_failed", "Support was stopped."));
}

TEST_F(HostBridgeTest, AnswersSettingsEvenWhenTheSessionEndsMeanwhile) {
  startSession();
  const auto call = invoke("configureStream", validPictureSettings());
  invokeAndRun("stopCapture");
  expectReply(call, nothing());
}

TEST_F(HostBridgeTest, ReleasesInputAtAnyTime) {
  expectReply(invoke("releaseInput"), nothing());
  startSession();
  expectReply(invoke("releaseInput"), nothing());
}

}  // namespace
}  // namespace quorvin
