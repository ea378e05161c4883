// The real host on a real (virtual) screen, spoken to over the UI link as a user interface would.

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "platform/flutter/StandardCodec.h"
#include "tests/e2e/link/HostHarness.h"
#include "tests/e2e/link/ScreenNoise.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;

class HostLink : public testing::Test {
 protected:
  LinkClient& client() { return *host.client; }

  static const Map* asMap(const FlutterReply& reply) {
    const auto* value = std::get_if<Value>(&reply);
    return value == nullptr ? nullptr : value->as<Map>();
  }

  static Value entry(const FlutterReply& reply, const char* key) {
    const auto* map = asMap(reply);
    const auto* value = map == nullptr ? nullptr : map->find(key);
    return value == nullptr ? Value("no such entry") : *value;
  }

  static std::string errorCode(const FlutterReply& reply) {
    const auto* error = std::get_if<FlutterError>(&reply);
    return error == nullptr ? "no error" : error->code;
  }

  // Whether the host has nothing to do any more at some time soon.
  bool comesToRest() {
    for (int attempt = 0; attempt < 40; ++attempt) {
      const auto before = host.process->processorTime();
      EXPECT_EQ(client().nextEvent(500ms), std::nullopt);
      if (host.process->processorTime() - before < 100ms) return true;
    }
    return false;
  }

  void expectOrderlyEnd(int status) {
    EXPECT_EQ(host.process->statusWithin(), status) << host.process->errorOutput();
    EXPECT_EQ(host.process->errorOutput(), "");
  }

  HostHarness harness;
  ConnectedHost host{harness};
};

const FlutterReply nothing = Value();

TEST_F(HostLink, TellsItsCapabilities) {
  const auto reply = client().call("capabilities");
  ASSERT_NE(asMap(reply), nullptr);
  EXPECT_EQ(asMap(reply)->size(), 7U);
  EXPECT_EQ(entry(reply, "platform"), Value("macos"));
  EXPECT_EQ(entry(reply, "screenShare"), Value(true));
  EXPECT_EQ(entry(reply, "unattended"), Value(false));
  const auto name = entry(reply, "deviceName");
  ASSERT_NE(name.as<std::string>(), nullptr);
  EXPECT_FALSE(name.as<std::string>()->empty());
}

TEST_F(HostLink, TellsItsPermissions) {
  const auto reply = client().call("permissions");
  EXPECT_EQ(entry(reply, "screenRecording"), Value(true));
  EXPECT_EQ(entry(reply, "accessibility"), Value(true));
}

TEST_F(HostLink, HasNoSuchMethodOrChannel) {
  const FlutterReply notImplemented = FlutterMethodNotImplemented();
  EXPECT_EQ(client().call("Capabilities"), notImplemented);
  EXPECT_EQ(client().callOn("com.quorvin.support/other", "capabilities"), notImplemented);
  EXPECT_EQ(client().callOn(LinkClient::frameChannel, "pause"), notImplemented);
}

TEST_F(HostLink, AnswersAPayloadItCannotDecode) {
  client().sendBytes(encodeLinkFrame(
      {LinkFrameType::message, 77, LinkClient::methodChannel, Data(Bytes{0xC7, 0x00, 0x11})}));
  EXPECT_EQ(client().waitForReply(77), FlutterReply(FlutterMethodNotImplemented()));
  EXPECT_NE(asMap(client().call("permissions")), nullptr);
}

TEST_F(HostLink, StartsNothingWithoutConsent) {
  client().listen();
  EXPECT_EQ(errorCode(client().call("startCapture")), "consent_required");
  EXPECT_EQ(errorCode(client().call("startCapture", Map{{"locallyAuthorized", "true"}})),
            "consent_required");
  EXPECT_EQ(errorCode(client().call("startCapture", Map{{"unattended", true}})),
            "consent_required");
  EXPECT_EQ(client().nextEvent(300ms), std::nullopt);
}

TEST_F(HostLink, SendsFramesOfTheScreen) {
  EXPECT_EQ(client().listen(), nothing);
  ASSERT_TRUE(host.startCapture());
  EXPECT_EQ(host.nextFrame(), HostHarness::screenSize);
}

TEST_F(HostLink, SendsSmallerFramesOnceToldTo) {
  const ScreenNoise noise(harness.server.display());
  client().listen();
  ASSERT_TRUE(host.startCapture());
  ASSERT_EQ(host.nextFrame(), HostHarness::screenSize);
  ASSERT_EQ(client().call("configureStream", streamSettings(640, 480)), nothing);
  const JpegSize smaller{640, 480};
  std::optional<JpegSize> size;
  for (int frame = 0; frame < 100 && size != smaller; ++frame) size = host.nextFrame();
  EXPECT_EQ(size, smaller);
  EXPECT_EQ(host.nextFrame(), smaller);
}

TEST_F(HostLink, RefusesSettingsThatAreOutOfRange) {
  EXPECT_EQ(errorCode(client().call("configureStream", streamSettings(640, 480))),
            "bad_stream_settings");
  ASSERT_TRUE(host.startCapture());
  EXPECT_EQ(errorCode(client().call("configureStream", streamSettings(639, 480))),
            "bad_stream_settings");
}

TEST_F(HostLink, SendsNoFramesAfterStopping) {
  const ScreenNoise noise(harness.server.display());
  client().listen();
  ASSERT_TRUE(host.startCapture());
  ASSERT_TRUE(host.nextFrame());
  EXPECT_EQ(client().call("stopCapture"), nothing);
  client().discardEvents();
  EXPECT_EQ(client().nextEvent(500ms), std::nullopt);
  EXPECT_EQ(client().eventsAfterReply(), 0U);
}

TEST_F(HostLink, SendsNoFramesToWhoDoesNotListen) {
  const ScreenNoise noise(harness.server.display());
  ASSERT_TRUE(host.startCapture());
  EXPECT_EQ(client().nextEvent(300ms), std::nullopt);
  EXPECT_EQ(client().listen(), nothing);
  EXPECT_TRUE(host.nextFrame());
  EXPECT_EQ(client().cancel(), nothing);
  client().discardEvents();
  EXPECT_EQ(client().nextEvent(300ms), std::nullopt);
}

TEST_F(HostLink, SharesAgainAfterStopping) {
  client().listen();
  for (int session = 0; session < 3; ++session) {
    ASSERT_TRUE(host.startCapture());
    EXPECT_EQ(host.nextFrame(), HostHarness::screenSize);
    EXPECT_EQ(client().call("stopCapture"), nothing);
    client().discardEvents();
  }
}

TEST_F(HostLink, EndsWhenTheLinkCloses) {
  client().call("permissions");
  client().close();
  expectOrderlyEnd(0);
}

TEST_F(HostLink, EndsWhenTheLinkClosesDuringASession) {
  const ScreenNoise noise(harness.server.display());
  client().listen();
  ASSERT_TRUE(host.startCapture());
  ASSERT_TRUE(host.nextFrame());
  client().close();
  expectOrderlyEnd(0);
}

TEST_F(HostLink, EndsWhenTheLinkClosesDuringTheStart) {
  client().listen();
  client().send(LinkClient::methodChannel, "startCapture", Map{{"locallyAuthorized", true}});
  client().send(LinkClient::methodChannel, "capabilities");
  client().close();
  expectOrderlyEnd(0);
}

TEST_F(HostLink, EndsOrderlyOnEverySignalThatAsksForIt) {
  ASSERT_TRUE(host.startCapture());
  host.process->send(SIGTERM);
  expectOrderlyEnd(0);
  for (const int signal : {SIGINT, SIGHUP}) {
    ConnectedHost another(harness);
    another.client->call("permissions");
    another.process->send(signal);
    EXPECT_EQ(another.process->statusWithin(), 0) << another.process->errorOutput();
    EXPECT_TRUE(another.client->isClosedWithin());
  }
}

TEST_F(HostLink, ClosesTheLinkOnHostileBytesAndEnds) {
  const std::vector<Bytes> hostile{
      {255, 255, 255, 255},                                // a frame of four gigabytes
      {5, 0, 0, 0, 9, 0, 0, 0, 0},                         // an unknown type
      {5, 0, 0, 0, 2, 1, 0, 0, 0},                         // a reply nobody asked for
      {8, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0xFE},             // a name that is not UTF-8
      {9, 0, 0, 0, 0, 1, 0, 0, 0, 0xFF, 0xFF, 'a', 'b'}};  // a name beyond its frame
  for (const auto& bytes : hostile) {
    ConnectedHost victim(harness);
    victim.client->call("permissions");
    victim.client->sendBytes(bytes);
    EXPECT_TRUE(victim.client->isClosedWithin());
    EXPECT_EQ(victim.process->statusWithin(), 0) << victim.process->errorOutput();
  }
}

// Without a window of its own that would take the host along.
class UnattendedHostLink : public HostLink {
 protected:
  UnattendedHostLink() {
    harness.enableUnattendedAccess("Till 4");
    host = ConnectedHost(harness, {"--unattended"});
  }
};

TEST_F(UnattendedHostLink, ReportsALostScreenAndStillAnswers) {
  client().listen();
  ASSERT_TRUE(host.startCapture());
  ASSERT_TRUE(host.nextFrame());
  harness.server.end();
  std::optional<FlutterEvent> event;
  do {
    event = client().nextEvent();
  } while (event && std::holds_alternative<Value>(*event));
  ASSERT_TRUE(event.has_value());
  EXPECT_EQ(std::get<FlutterError>(*event).code, "capture_stopped");

  EXPECT_NE(asMap(client().call("capabilities")), nullptr);
  EXPECT_EQ(entry(client().call("permissions"), "screenRecording"), Value(false));
  EXPECT_EQ(errorCode(client().call("startCapture", Map{{"locallyAuthorized", true}})),
            "screen_recording_required");
  EXPECT_TRUE(comesToRest());
  client().close();
  EXPECT_EQ(host.process->statusWithin(), 1) << host.process->errorOutput();
}

TEST_F(HostLink, AnswersAndEndsWhileTheScreenHangs) {
  client().listen();
  ASSERT_TRUE(host.startCapture());
  ASSERT_TRUE(host.nextFrame());
  harness.server.freeze();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(client().call("unknown"), FlutterReply(FlutterMethodNotImplemented()));
  EXPECT_EQ(client().call("stopCapture"), nothing);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
  client().close();
  EXPECT_EQ(host.process->statusWithin(), 0) << host.process->errorOutput();
  harness.server.thaw();
}

}  // namespace
}  // namespace quorvin
