#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/system/Process.h"
#include "tests/linux/system/FakeIdleService.h"
#include "tests/linux/system/MainLoop.h"
#include "tests/linux/system/SilentServer.h"
#include "tests/linux/system/WaitingTime.h"

namespace quorvin {
namespace {

using Requests = std::vector<FakeIdleService::Request>;

constexpr auto options = activityUserInitiated | activityLatencyCritical;

constexpr auto screenSaverInterface = R"(<node><interface name="org.freedesktop.ScreenSaver">
  <method name="Inhibit">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="u" direction="out"/>
  </method>
  <method name="UnInhibit"><arg type="u" direction="in"/></method>
</interface></node>)";

constexpr auto sessionManagerInterface = R"(<node><interface name="org.gnome.SessionManager">
  <method name="Inhibit">
    <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
    <arg type="u" direction="in"/><arg type="u" direction="out"/>
  </method>
  <method name="Uninhibit"><arg type="u" direction="in"/></method>
</interface></node>)";

class ActivityBusTest : public testing::Test {
 protected:
  LinuxProcess onThisBus() {
    return LinuxProcess({}, {.display = "", .busAddress = bus.address()});
  }
  std::unique_ptr<FakeIdleService> screenSaver() {
    return std::make_unique<FakeIdleService>(bus, "org.freedesktop.ScreenSaver",
                                             "/org/freedesktop/ScreenSaver", screenSaverInterface);
  }
  bool isAlone() { return namesOnBus(observer).size() == namesAtFirst; }

  SessionBus bus;
  BusConnection observer = joinBus(bus);
  const std::size_t namesAtFirst = namesOnBus(observer).size();
};

TEST_F(ActivityBusTest, AsksTheScreenSaverForTheLengthOfTheActivity) {
  const auto service = screenSaver();
  auto process = onThisBus();
  const auto token = process.beginActivity(options, "A session is active.");
  Requests expected{{"Inhibit", "('com.quorvin.support', 'A session is active.')"}};
  EXPECT_TRUE(runMainLoopUntil([&] { return service->requests() == expected; }));
  process.endActivity(token);
  expected.push_back({"UnInhibit", "(4711,)"});
  EXPECT_TRUE(runMainLoopUntil([&] { return service->requests() == expected; }));
  process.endActivity(token);
  process.endActivity(nullptr);
}

TEST_F(ActivityBusTest, AsksTheSessionManagerNotToIdleAndNotToSuspend) {
  const FakeIdleService service(bus, "org.gnome.SessionManager", "/org/gnome/SessionManager",
                                sessionManagerInterface);
  auto process = onThisBus();
  auto token = process.beginActivity(options, "A session is active.");
  Requests expected{{"Inhibit", "('com.quorvin.support', 0, 'A session is active.', 12)"}};
  EXPECT_TRUE(runMainLoopUntil([&] { return service.requests() == expected; }));
  token.reset();
  expected.push_back({"Uninhibit", "(4711,)"});
  EXPECT_TRUE(runMainLoopUntil([&] { return service.requests() == expected; }));
}

TEST_F(ActivityBusTest, EndsWithItsTokenAndLeavesTheBus) {
  auto service = screenSaver();
  auto process = onThisBus();
  auto token = process.beginActivity(options, "A session is active.");
  ASSERT_TRUE(runMainLoopUntil([&] { return service->requests().size() == 1; }));
  token.reset();
  EXPECT_TRUE(runMainLoopUntil([&] { return service->requests().size() == 2; }));
  EXPECT_EQ(service->requests().back(), (FakeIdleService::Request{"UnInhibit", "(4711,)"}));
  service.reset();
  EXPECT_TRUE(runMainLoopUntil([&] { return isAlone(); }));
}

TEST_F(ActivityBusTest, TakesBackWhatIsAnsweredAfterItsEnd) {
  const auto service = screenSaver();
  service->holdAnswers();
  auto process = onThisBus();
  auto token = process.beginActivity(options, "A session is active.");
  ASSERT_TRUE(runMainLoopUntil([&] { return service->requests().size() == 1; }));
  token.reset();
  service->answerAll();
  EXPECT_TRUE(runMainLoopUntil([&] { return service->requests().size() == 2; }));
  EXPECT_EQ(service->requests().back(), (FakeIdleService::Request{"UnInhibit", "(4711,)"}));
}

TEST_F(ActivityBusTest, DoesWithoutServicesAndStartsNone) {
  auto process = onThisBus();
  auto token = process.beginActivity(options, "A session is active.");
  // Its own connection comes, and nobody else.
  EXPECT_TRUE(runMainLoopUntil([&] { return namesOnBus(observer).size() == namesAtFirst + 1; }));
  token.reset();
  // The connection goes once every request has been answered.
  EXPECT_TRUE(runMainLoopUntil([&] { return isAlone(); }));
  EXPECT_FALSE(bus.hasStartedService());
}

TEST_F(ActivityBusTest, SurvivesTheEndOfTheBus) {
  auto process = onThisBus();
  auto token = process.beginActivity(options, "A session is active.");
  ASSERT_TRUE(runMainLoopUntil([&] { return !isAlone(); }));
  bool closed = false;
  g_dbus_connection_set_exit_on_close(observer.get(), FALSE);
  g_signal_connect(observer.get(), "closed",
                   G_CALLBACK(+[](GDBusConnection*, gboolean, GError*, gpointer flag) {
                     *static_cast<bool*>(flag) = true;
                   }),
                   &closed);
  bus.end();
  EXPECT_TRUE(runMainLoopUntil([&] { return closed; }));
  process.endActivity(token);
}

TEST(ActivityWithoutBus, NeverWaitsForOneThatHangs) {
  const SilentServer server;
  LinuxProcess process({}, {.display = "", .busAddress = "unix:path=" + server.path()});
  const WaitingTime waited;
  auto token = process.beginActivity(options, "A session is active.");
  process.endActivity(token);
  EXPECT_LT(waited.passed(), std::chrono::seconds(5));
}

TEST(ActivityWithoutBus, TakesAnAddressThatLeadsNowhere) {
  LinuxProcess process({}, {.display = "/nowhere", .busAddress = "unix:path=/nowhere/bus"});
  auto token = process.beginActivity(options, "A session is active.");
  EXPECT_NE(token, nullptr);
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
  process.endActivity(token);
}

}  // namespace
}  // namespace quorvin
