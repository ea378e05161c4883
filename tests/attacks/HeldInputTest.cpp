// Whoever wants something left held: remote input holds a button, keys and bound key codes, and
// then the session, the host or its guardian end, in every way and with a server that is stuck.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/ChildProgram.h"
#include "tests/e2e/link/HostHarness.h"
#include "tests/linux/guardian/ScreenInput.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Virtual key codes of macOS.
constexpr int letterA = 0;
constexpr int section = 10;  // on no US keyboard
constexpr int shift = 56;

constexpr auto endTimeTarget = 2s;
constexpr auto answerTimeTarget = 500ms;

const FlutterReply done = Value();
const ScreenInput::Pressed nothing;

class HeldInputAttack : public testing::Test {
 protected:
  std::unique_ptr<ConnectedHost> startSession() {
    auto host = std::make_unique<ConnectedHost>(harness);
    host->client->listen();
    EXPECT_TRUE(host->startCapture());
    EXPECT_TRUE(host->client->nextEvent());
    return host;
  }
  static FlutterReply key(ConnectedHost& host, const char* action, int code) {
    return host.client->call("injectInput", Map{{"action", action}, {"keyCode", code}});
  }
  static FlutterReply mouse(ConnectedHost& host, const char* action, double x) {
    return host.client->call("injectInput",
                             Map{{"action", action}, {"x", x}, {"y", 0.99}, {"button", "left"}});
  }
  // A button, two keys, and one whose key code has symbols of the host's.
  void hold(ConnectedHost& host) {
    ASSERT_EQ(mouse(host, "mouseDown", 0.99), done);
    ASSERT_EQ(key(host, "keyDown", section), done);
    ASSERT_EQ(key(host, "keyDown", shift), done);
    ASSERT_EQ(key(host, "keyDown", letterA), done);
    ASSERT_TRUE(comesTrue([this] {
      const auto now = screen.pressed();
      return now.buttons.size() == 1 && now.keys.size() == 3;
    }));
    ASSERT_TRUE(screen.symbols() != before);
  }
  static pid_t guardianOf(const ConnectedHost& host) {
    const auto children = childrenOf(host.process->processId());
    return children.size() == 1 ? children.front() : -1;
  }

  static bool comesTrue(const std::function<bool()>& condition,
                        std::chrono::milliseconds within = 20s) {
    const auto deadline = Clock::now() + within;
    while (!condition()) {
      if (Clock::now() > deadline) return false;
      std::this_thread::sleep_for(2ms);
    }
    return true;
  }
  void expectNothingLeft(const std::string& after) {
    EXPECT_TRUE(screen.waitFor(nothing)) << after;
    EXPECT_TRUE(comesTrue([this] { return screen.symbols() == before; })) << after;
  }

  HostHarness harness;
  ScreenInput screen{harness.server.display()};
  const ScreenInput::Symbols before = screen.symbols();
};

struct Ending {
  const char* name;
  std::function<void(ConnectedHost&)> make;
};

Ending bySignal(const char* name, int signal) {
  return {name, [signal](ConnectedHost& host) {
            host.process->send(signal);
          }};
}

const std::vector<Ending>& endingsOfTheHost() {
  static const std::vector<Ending> all{bySignal("SIGTERM", SIGTERM),
                                       bySignal("SIGINT", SIGINT),
                                       bySignal("SIGHUP", SIGHUP),
                                       bySignal("SIGKILL", SIGKILL),
                                       bySignal("SIGSEGV", SIGSEGV),
                                       {"link", [](ConnectedHost& host) {
                                          host.client->close();
                                        }}};
  return all;
}

TEST_F(HeldInputAttack, NothingIsLeftHoweverTheHostEnds) {
  for (const auto& ending : endingsOfTheHost()) {
    const auto host = startSession();
    hold(*host);
    ending.make(*host);
    EXPECT_TRUE(host->process->statusWithin(endTimeTarget)) << ending.name;
    expectNothingLeft(ending.name);
  }
}

// The guardian is there, but does nothing.
TEST_F(HeldInputAttack, AnOrderlyEndNeedsNoGuardian) {
  for (const auto& ending : endingsOfTheHost()) {
    if (std::string(ending.name) == "SIGKILL" || std::string(ending.name) == "SIGSEGV") continue;
    const auto host = startSession();
    hold(*host);
    const auto guardian = guardianOf(*host);
    ASSERT_GT(guardian, 0);
    ::kill(guardian, SIGSTOP);
    ending.make(*host);
    EXPECT_TRUE(host->process->statusWithin(endTimeTarget)) << ending.name;
    EXPECT_TRUE(screen.waitFor(nothing, 100ms)) << ending.name;
    EXPECT_TRUE(screen.symbols() == before) << ending.name;
    ::kill(guardian, SIGKILL);
  }
}

TEST_F(HeldInputAttack, NothingIsLeftWhenTheGuardianIsKilledYoungAndThenTheHost) {
  for (const auto& ending : endingsOfTheHost()) {
    const auto host = startSession();
    hold(*host);
    const auto first = guardianOf(*host);
    ASSERT_GT(first, 0);
    ::kill(first, SIGKILL);
    EXPECT_TRUE(comesTrue(
        [&] {
          const auto now = guardianOf(*host);
          return now > 0 && now != first;
        },
        300ms))
        << ending.name;
    ending.make(*host);
    EXPECT_TRUE(host->process->statusWithin(endTimeTarget)) << ending.name;
    expectNothingLeft(ending.name);
  }
}

TEST_F(HeldInputAttack, NothingIsHeldOnceTheSessionOrItsInputEnds) {
  const auto host = startSession();
  for (const char* method : {"releaseInput", "stopCapture"}) {
    hold(*host);
    EXPECT_EQ(host->client->call(method), done);
    EXPECT_TRUE(screen.waitFor(nothing)) << method;
  }
  host->process->send(SIGTERM);
  EXPECT_TRUE(host->process->statusWithin(endTimeTarget));
  expectNothingLeft("SIGTERM");
}

TEST_F(HeldInputAttack, NothingIsLeftWhenTheServerIsStuckAtTheHostsEnd) {
  for (const auto& ending : endingsOfTheHost()) {
    const auto host = startSession();
    hold(*host);
    harness.server.freeze();
    screen.waitForSilence();
    ending.make(*host);
    EXPECT_TRUE(host->process->statusWithin(endTimeTarget)) << ending.name;
    harness.server.thaw();
    expectNothingLeft(ending.name);
  }
}

TEST_F(HeldInputAttack, NothingIsLeftWhenTheServerIsStuckWhileTheGuardianIsKilledAndTheHost) {
  const auto host = startSession();
  hold(*host);
  harness.server.freeze();
  screen.waitForSilence();
  EXPECT_EQ(mouse(*host, "mouseMove", 0.9), done);
  const auto first = guardianOf(*host);
  ASSERT_GT(first, 0);
  ::kill(first, SIGKILL);
  EXPECT_TRUE(comesTrue([&] {
    const auto now = guardianOf(*host);
    return now > 0 && now != first;
  }));
  host->process->send(SIGKILL);
  EXPECT_TRUE(host->process->statusWithin(endTimeTarget));
  harness.server.thaw();
  expectNothingLeft("both");
}

TEST_F(HeldInputAttack, InputIsAnsweredAndLetGoWhileTheServerIsStuck) {
  const auto host = startSession();
  hold(*host);
  harness.server.freeze();
  screen.waitForSilence();
  std::chrono::steady_clock::duration longest{};
  const auto ask = [&](const std::function<FlutterReply()>& call) {
    const auto begin = Clock::now();
    EXPECT_EQ(call(), done);
    longest = std::max(longest, Clock::now() - begin);
  };
  for (int round = 0; round < 500; ++round) {
    ask([&] { return mouse(*host, "mouseMove", round / 1000.0); });
    ask([&] { return key(*host, "keyDown", letterA); });
    ask([&] { return key(*host, "keyUp", letterA); });
  }
  ask([&] { return host->client->call("releaseInput"); });
  EXPECT_LT(longest, answerTimeTarget);
  harness.server.thaw();
  EXPECT_TRUE(screen.waitFor(nothing));
}

}  // namespace
}  // namespace quorvin
