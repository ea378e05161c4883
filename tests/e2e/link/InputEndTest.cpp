// What remote input holds on the screen, and how every end of a session and of the host takes it
// back.

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "tests/e2e/link/HostHarness.h"
#include "tests/e2e/link/ScreenNoise.h"
#include "tests/e2e/link/WindowProbe.h"
#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/guardian/ScreenInput.h"

namespace quorvin {
namespace {

// Virtual key codes of macOS.
constexpr int letterA = 0;
constexpr int shift = 56;
constexpr int section = 10;  // on no US keyboard

// What these are on the X server's US keyboard.
constexpr std::uint8_t xLetterA = 38;
constexpr std::uint8_t xShift = 50;

const FlutterReply done = Value();
const ScreenInput::Pressed nothing;

class RemoteInput : public testing::Test {
 protected:
  static FlutterReply inject(LinkClient& client, const Map& event) {
    return client.call("injectInput", event);
  }
  static FlutterReply mouse(LinkClient& client, const char* action) {
    return inject(client, Map{{"action", action}, {"x", 0.99}, {"y", 0.99}, {"button", "left"}});
  }
  static FlutterReply key(LinkClient& client, const char* action, int code) {
    return inject(client, Map{{"action", action}, {"keyCode", code}});
  }
  static std::string errorCode(const FlutterReply& reply) {
    const auto* error = std::get_if<FlutterError>(&reply);
    return error == nullptr ? "no error" : error->code;
  }

  std::unique_ptr<ConnectedHost> startSession() {
    auto host = std::make_unique<ConnectedHost>(harness);
    begin(*host->client);
    return host;
  }
  // Returns once the host knows which display it shares.
  static void begin(LinkClient& client) {
    client.listen();
    ASSERT_EQ(client.call("startCapture", Map{{"locallyAuthorized", true}}), done);
    ASSERT_TRUE(client.nextEvent());
  }

  void hold(LinkClient& client) {
    ASSERT_EQ(mouse(client, "mouseDown"), done);
    ASSERT_EQ(key(client, "keyDown", shift), done);
    ASSERT_EQ(key(client, "keyDown", letterA), done);
    ASSERT_TRUE(screen.waitFor({.buttons = {1}, .keys = {xLetterA, xShift}}));
  }

  bool waitForPress() {
    const auto deadline = std::chrono::steady_clock::now() + ScreenInput::timeout;
    while (screen.pressed() == nothing) {
      if (std::chrono::steady_clock::now() > deadline) return false;
    }
    return true;
  }

  bool waitForSymbols(const ScreenInput::Symbols& expected) {
    const auto deadline = std::chrono::steady_clock::now() + ScreenInput::timeout;
    while (screen.symbols() != expected) {
      if (std::chrono::steady_clock::now() > deadline) return false;
    }
    return true;
  }

  HostHarness harness;
  ScreenInput screen{harness.server.display()};
};

TEST_F(RemoteInput, IsRefusedOutsideASession) {
  ConnectedHost host(harness);
  EXPECT_EQ(errorCode(mouse(*host.client, "mouseDown")), "input_not_authorized");
  EXPECT_EQ(errorCode(key(*host.client, "keyDown", letterA)), "input_not_authorized");
  begin(*host.client);
  ASSERT_EQ(host.client->call("stopCapture"), done);
  EXPECT_EQ(errorCode(mouse(*host.client, "mouseDown")), "input_not_authorized");
  EXPECT_EQ(errorCode(key(*host.client, "keyDown", letterA)), "input_not_authorized");
  screen.synchronize();
  EXPECT_EQ(screen.pressed(), nothing);
}

TEST_F(RemoteInput, HoldsNothingOnceItIsReleased) {
  const auto host = startSession();
  hold(*host->client);
  EXPECT_EQ(host->client->call("releaseInput"), done);
  EXPECT_TRUE(screen.waitFor(nothing));
}

TEST_F(RemoteInput, HoldsNothingOnceTheSessionIsStopped) {
  const auto host = startSession();
  hold(*host->client);
  EXPECT_EQ(host->client->call("stopCapture"), done);
  EXPECT_TRUE(screen.waitFor(nothing));
}

TEST_F(RemoteInput, HoldsNothingOnceTheDisplayIsUnplugged) {
  ScreenPainter monitors(harness.server.display());
  monitors.defineMonitor("first", {0, 0, 400, 600}, true);
  monitors.defineMonitor("second", {400, 0, 400, 600}, false);
  const auto host = startSession();
  hold(*host->client);
  monitors.deleteMonitor("first");
  std::optional<FlutterEvent> event;
  do {
    event = host->client->nextEvent();
  } while (event && std::holds_alternative<Value>(*event));
  ASSERT_TRUE(event.has_value());
  EXPECT_EQ(std::get<FlutterError>(*event).code, "capture_stopped");
  EXPECT_TRUE(screen.waitFor(nothing));
}

TEST_F(RemoteInput, HoldsNothingOnceTheLinkIsClosed) {
  const auto host = startSession();
  hold(*host->client);
  host->client->close();
  EXPECT_EQ(host->process->statusWithin(), 0) << host->process->errorOutput();
  EXPECT_TRUE(screen.waitFor(nothing));
}

TEST_F(RemoteInput, HoldsNothingOnceTheWindowIsKilled) {
  const WindowProbe probe(harness.server.display());
  const auto host = startSession();
  const auto window = probe.waitForWindow("Quorvin Support");
  ASSERT_TRUE(window);
  hold(*host->client);
  probe.kill(*window);
  EXPECT_EQ(host->process->statusWithin(), 0) << host->process->errorOutput();
  EXPECT_TRUE(host->client->isClosedWithin());
  EXPECT_TRUE(screen.waitFor(nothing));
}

TEST_F(RemoteInput, HoldsNothingHoweverTheHostEnds) {
  for (const int signal : {SIGTERM, SIGINT, SIGKILL, SIGSEGV, SIGABRT}) {
    const auto host = startSession();
    hold(*host->client);
    host->process->send(signal);
    EXPECT_TRUE(host->process->statusWithin()) << signal;
    EXPECT_TRUE(screen.waitFor(nothing)) << signal;
  }
}

TEST_F(RemoteInput, HoldsNothingOnceTheHostsProcessGroupIsKilled) {
  auto [own, hosts] = makeLinkPair();
  LinkClient client(std::move(own));
  auto variables = harness.environment();
  variables.emplace_back("QUORVIN_UI_FD=3");
  HostProcess host({.program = QUORVIN_HOST,
                    .arguments = {},
                    .environment = variables,
                    .link = std::move(hosts),
                    .hasOwnGroup = true});
  begin(client);
  hold(client);
  ::kill(-host.processId(), SIGKILL);
  EXPECT_TRUE(host.statusWithin());
  EXPECT_TRUE(screen.waitFor(nothing));
}

TEST_F(RemoteInput, LeavesNoKeyCodeBoundHoweverTheHostEnds) {
  const auto before = screen.symbols();
  for (const int signal : {SIGTERM, SIGKILL, SIGSEGV}) {
    const auto host = startSession();
    ASSERT_EQ(key(*host->client, "keyDown", section), done);
    ASSERT_TRUE(waitForPress());
    EXPECT_NE(screen.symbols(), before);
    host->process->send(signal);
    EXPECT_TRUE(host->process->statusWithin()) << signal;
    EXPECT_TRUE(screen.waitFor(nothing)) << signal;
    EXPECT_TRUE(waitForSymbols(before)) << signal;
  }
}

// Nobody could take a press back, so none is made.
TEST_F(RemoteInput, PressesNothingWithoutAGuardian) {
  const auto copy = harness.home.path() / "quorvin-support";
  std::filesystem::copy_file(QUORVIN_HOST, copy);
  auto [own, hosts] = makeLinkPair();
  LinkClient client(std::move(own));
  auto variables = harness.environment();
  variables.emplace_back("QUORVIN_UI_FD=3");
  HostProcess host(
      {.program = copy, .arguments = {}, .environment = variables, .link = std::move(hosts)});
  begin(client);
  EXPECT_EQ(mouse(client, "mouseDown"), done);
  EXPECT_EQ(key(client, "keyDown", letterA), done);
  screen.synchronize();
  EXPECT_EQ(screen.pressed(), nothing);
}

// Frames are stuck in the link, and yet input goes its way.
TEST_F(RemoteInput, DoesNotWaitForAListenerThatReadsNoFrames) {
  const auto host = startSession();
  const ScreenNoise noise(harness.server.display());
  // Until the socket holds all it can.
  host->client->waitUntilStuck();
  for (int press = 0; press < 20; ++press) {
    host->client->send(LinkClient::methodChannel, "injectInput",
                       Map{{"action", "keyDown"}, {"keyCode", letterA}});
    ASSERT_TRUE(screen.waitFor({.buttons = {}, .keys = {xLetterA}}));
    host->client->send(LinkClient::methodChannel, "injectInput",
                       Map{{"action", "keyUp"}, {"keyCode", letterA}});
    ASSERT_TRUE(screen.waitFor(nothing));
  }
}

}  // namespace
}  // namespace quorvin
