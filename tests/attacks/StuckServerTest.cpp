// An X server that is stuck, at every step of a session and before one: no call waits for it, a
// start not for long, a stop stops, and the host ends when it is asked to.

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "tests/e2e/link/HostHarness.h"
#include "tests/e2e/link/XcbConnection.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto limit = 2s;
constexpr auto startLimit = 3s;

enum class Way { stopped, grabbed };
enum class Step {
  beforeTheHost,
  beforeTheStart,
  duringTheStart,
  runningJpeg,
  runningH264,
  stopping
};

std::string nameOf(const testing::TestParamInfo<std::tuple<Way, Step>>& info) {
  const std::string way = std::get<Way>(info.param) == Way::stopped ? "Stopped" : "Grabbed";
  switch (std::get<Step>(info.param)) {
    case Step::beforeTheHost:
      return way + "BeforeTheHost";
    case Step::beforeTheStart:
      return way + "BeforeTheStart";
    case Step::duringTheStart:
      return way + "DuringTheStart";
    case Step::runningJpeg:
      return way + "RunningJpeg";
    case Step::runningH264:
      return way + "RunningH264";
    case Step::stopping:
      return way + "Stopping";
  }
  return way;
}

const Map consent{{"locallyAuthorized", true}};

bool isH264(const FlutterEvent& event) {
  const auto* value = std::get_if<Value>(&event);
  const auto* data = value == nullptr ? nullptr : value->as<Data>();
  if (data == nullptr) return false;
  const auto bytes = data->bytes();
  return bytes.size() > 4 && std::string(bytes.begin(), bytes.begin() + 4) == "QNH2";
}

class StuckServer : public testing::TestWithParam<std::tuple<Way, Step>> {
 protected:
  ~StuckServer() override { goOn(); }

  [[nodiscard]] static Step step() { return std::get<Step>(GetParam()); }

  void getStuck() {
    if (std::get<Way>(GetParam()) == Way::stopped) return harness.server.freeze();
    xcb_grab_server(grabber.get());
    grabber.synchronize();
  }
  void goOn() {
    if (std::get<Way>(GetParam()) == Way::stopped) return harness.server.thaw();
    xcb_ungrab_server(grabber.get());
    grabber.synchronize();
  }

  static std::uint32_t sendStart(LinkClient& client) {
    return client.send(LinkClient::methodChannel, "startCapture", consent);
  }

  // What a start comes to that nothing stops.
  static FlutterError failedStart() {
    if (step() == Step::beforeTheHost) {
      return {"screen_recording_required", "Allow Screen Recording in System Settings.", {}};
    }
    return {"capture_failed",
            "The X display does not answer. Wait until the program that holds it lets go, then "
            "start again.",
            {}};
  }

  // As far as the step that is to find the server stuck.
  static void approach(ConnectedHost& host) {
    auto& client = *host.client;
    if (step() == Step::beforeTheHost) return;
    client.call("permissions");
    if (step() == Step::duringTheStart) sendStart(client);
    if (step() == Step::duringTheStart || step() == Step::beforeTheStart) return;
    client.listen();
    ASSERT_TRUE(host.startCapture());
    ASSERT_TRUE(client.nextEvent());
    if (step() != Step::runningH264) return;
    auto settings = streamSettings(800, 600);
    settings.append("codec", "h264");
    ASSERT_EQ(client.call("configureStream", settings), FlutterReply(Value()));
    std::optional<FlutterEvent> event;
    do {
      event = client.nextEvent();
    } while (event && !isH264(*event));
    ASSERT_TRUE(event);
  }

  // Hosts that all come to the step, and the server that is stuck there.
  void bring(std::vector<std::unique_ptr<ConnectedHost>>& hosts) {
    if (step() == Step::beforeTheHost) getStuck();
    for (auto& host : hosts) host = std::make_unique<ConnectedHost>(harness);
    for (auto& host : hosts) ASSERT_NO_FATAL_FAILURE(approach(*host));
    if (step() != Step::beforeTheHost) getStuck();
  }

  static void expectAnswer(LinkClient& client, const char* method, const Value& arguments = {}) {
    const auto asked = Clock::now();
    EXPECT_NO_THROW(client.call(method, arguments)) << method;
    EXPECT_LT(Clock::now() - asked, limit) << method;
  }

  static void expectAnswers(LinkClient& client) {
    expectAnswer(client, "capabilities");
    expectAnswer(client, "permissions");
    expectAnswer(client, "requestPermissions");
    expectAnswer(client, "configureStream", streamSettings(640, 480));
    expectAnswer(client, "injectInput", Map{{"action", "mouseMove"}, {"x", 0.5}, {"y", 0.5}});
    expectAnswer(client, "injectInput", Map{{"action", "keyDown"}, {"keyCode", 0}});
    expectAnswer(client, "injectInput", Map{{"action", "keyUp"}, {"keyCode", 0}});
    expectAnswer(client, "releaseInput");
    expectAnswer(client, "createDesktopShortcut");
  }

  static bool isAllowed(LinkClient& client) {
    const auto reply = client.call("permissions");
    const auto* map = std::get<Value>(reply).as<Map>();
    return *map->find("screenRecording") == Value(true) &&
           *map->find("accessibility") == Value(true);
  }

  static void expectASession(ConnectedHost& host) {
    const auto deadline = Clock::now() + LinkClient::timeout;
    while (!isAllowed(*host.client) && Clock::now() < deadline) {
    }
    host.client->listen();
    host.client->discardEvents();
    EXPECT_TRUE(host.startCapture());
    EXPECT_TRUE(host.client->nextEvent());
  }

  HostHarness harness;
  XcbConnection grabber{harness.server.display()};
};

TEST_P(StuckServer, HoldsUpNeitherACallNorAnEnd) {
  std::vector<std::unique_ptr<ConnectedHost>> hosts(3);
  ASSERT_NO_FATAL_FAILURE(bring(hosts));
  auto& client = *hosts[0]->client;
  if (step() != Step::stopping) expectAnswers(client);
  expectAnswer(client, "stopCapture");
  // Another session, of which the display is asked first of all.
  const auto stopped = sendStart(client);
  expectAnswers(client);
  expectAnswer(client, "stopCapture");
  // And one that nothing stops.
  const auto asked = Clock::now();
  const auto unstopped = sendStart(client);

  for (const auto& host : {hosts[1].get(), hosts[2].get()}) {
    if (step() == Step::stopping) host->client->call("stopCapture");
    if (step() == Step::beforeTheStart) sendStart(*host->client);
    // From here on it does more with a signal than die of it.
    if (step() == Step::beforeTheHost) host->client->call("permissions");
  }
  hosts[1]->process->send(SIGTERM);
  hosts[2]->client->close();
  const auto deadline = Clock::now() + limit;
  for (const auto& host : {hosts[1].get(), hosts[2].get()}) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    EXPECT_EQ(host->process->statusWithin(left), 0);
  }

  if (step() == Step::beforeTheHost || step() == Step::beforeTheStart) {
    EXPECT_NO_THROW(client.waitForReply(stopped));
    EXPECT_EQ(client.waitForReply(unstopped), FlutterReply(failedStart()));
    EXPECT_LT(Clock::now() - asked, startLimit);
  }
  goOn();
  expectASession(*hosts[0]);
}

INSTANTIATE_TEST_SUITE_P(EveryStep, StuckServer,
                         testing::Combine(testing::Values(Way::stopped, Way::grabbed),
                                          testing::Values(Step::beforeTheHost, Step::beforeTheStart,
                                                          Step::duringTheStart, Step::runningJpeg,
                                                          Step::runningH264, Step::stopping)),
                         nameOf);

}  // namespace
}  // namespace quorvin
