// The guardian on a real (virtual) X server, with a host that ends while it holds keys.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include "tests/ChildProgram.h"
#include "tests/linux/guardian/DyingHost.h"
#include "tests/linux/guardian/ScreenInput.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;

constexpr std::uint8_t leftButton = 1;
constexpr std::uint8_t rightButton = 3;
constexpr std::uint8_t letter = 38;
constexpr std::uint8_t shift = 50;
constexpr xcb_keysym_t someSymbol = 0x10020AC;

const ScreenInput::Pressed nothing;
const ScreenInput::Pressed buttonShiftAndLetter{.buttons = {leftButton}, .keys = {letter, shift}};

bool pressButtonShiftAndLetter(GuardianJournal& journal, ScreenInput& input) {
  return pressButton(journal, input, leftButton) && pressKey(journal, input, shift) &&
         pressKey(journal, input, letter);
}

class Guardian : public testing::Test {
 protected:
  XServer server{{"-noreset"}};
  ScreenInput probe{server.display()};
};

TEST_F(Guardian, ReleasesWhatIsHeldHoweverTheHostEnds) {
  for (const int signal : {SIGKILL, SIGSEGV, SIGABRT, SIGTERM}) {
    DyingHost host(server.display(), pressButtonShiftAndLetter);
    ASSERT_TRUE(host.workedWell());
    ASSERT_TRUE(probe.waitFor(buttonShiftAndLetter));
    host.end(signal);
    EXPECT_TRUE(host.allAreGone());
    EXPECT_EQ(probe.pressed(), nothing) << signal;
  }
}

// Which may have been started right after the end of the last one.
TEST_F(Guardian, LeavesThePressesOfTheNextHostAlone) {
  for (int round = 0; round < 5; ++round) {
    DyingHost host(server.display(), pressButtonShiftAndLetter);
    ASSERT_TRUE(probe.waitFor(buttonShiftAndLetter));
    host.end(SIGKILL);
    ASSERT_TRUE(probe.waitFor(nothing));
    probe.pressKey(letter);
    EXPECT_TRUE(host.allAreGone());
    EXPECT_EQ(probe.pressed(), (ScreenInput::Pressed{.buttons = {}, .keys = {letter}})) << round;
    probe.releaseKey(letter);
    ASSERT_TRUE(probe.waitFor(nothing));
  }
}

// Which only the X-Resource extension tells.
TEST(GuardianWithoutResources, ReleasesWhatIsHeldThoughTheServerTellsNoProcesses) {
  XServer server({"-noreset", "-extension", "X-Resource"});
  ScreenInput probe(server.display());
  DyingHost host(server.display(), pressButtonShiftAndLetter);
  ASSERT_TRUE(probe.waitFor(buttonShiftAndLetter));
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

TEST_F(Guardian, IsNotReachedBySignalsToTheHostsGroup) {
  DyingHost host(server.display(), pressButtonShiftAndLetter);
  ASSERT_TRUE(probe.waitFor(buttonShiftAndLetter));
  host.endGroup(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

TEST_F(Guardian, StaysThroughSignalsThatAskItToEnd) {
  DyingHost host(server.display(), pressButtonShiftAndLetter);
  ASSERT_TRUE(probe.waitFor(buttonShiftAndLetter));
  const auto guardian = host.guardian();
  ASSERT_GT(guardian, 0);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGPIPE}) ::kill(guardian, signal);
  EXPECT_EQ(probe.pressed(), buttonShiftAndLetter);
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

TEST_F(Guardian, TakesTheSymbolsFromKeyCodesThatWereBound) {
  const auto key = probe.keyWithoutSymbols();
  ASSERT_NE(key, 0);
  const auto before = probe.symbolsOf(key);
  DyingHost host(server.display(), [key](auto& journal, auto& input) {
    if (!journal.willBindKey(key)) return false;
    input.bind(key, someSymbol);
    return pressKey(journal, input, key);
  });
  ASSERT_TRUE(probe.waitFor({.buttons = {}, .keys = {key}}));
  ASSERT_EQ(probe.symbolsOf(key).front(), someSymbol);
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
  EXPECT_EQ(probe.keyFor(someSymbol), 0);
  for (const auto symbol : probe.symbolsOf(key)) EXPECT_EQ(symbol, xcb_keysym_t{XCB_NO_SYMBOL});
}

TEST_F(Guardian, LeavesKeyCodesAloneThatWereUnbound) {
  const auto key = probe.keyWithoutSymbols();
  DyingHost host(server.display(), [key](auto& journal, auto& /*input*/) {
    const bool done = journal.willBindKey(key);
    journal.didUnbindKey(key);
    return done;
  });
  ASSERT_TRUE(host.workedWell());
  // Somebody else's, from now on.
  probe.bind(key, someSymbol);
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.symbolsOf(key).front(), someSymbol);
}

// The server itself would count the key as released, though the person still has it down.
TEST_F(Guardian, LeavesAloneWhatThePersonAtTheMachineHolds) {
  DyingHost host(server.display(), [](auto& journal, auto& input) {
    // The host ends before it presses what it has announced.
    return journal.willPressKey(letter) && pressKey(journal, input, shift);
  });
  ASSERT_TRUE(host.workedWell());
  probe.pressKeyLocally(letter);
  ASSERT_TRUE(probe.waitFor({.buttons = {}, .keys = {letter, shift}}));
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), (ScreenInput::Pressed{.buttons = {}, .keys = {letter}}));
}

TEST_F(Guardian, UndoesPressesThatAreOnTheirWayToTheServer) {
  const auto key = probe.keyWithoutSymbols();
  for (int round = 0; round < 5; ++round) {
    DyingHost host(server.display(), [&](auto& journal, auto& input) {
      // The guardian is ready, and the extension's number known, from here on.
      if (!pressKey(journal, input, letter)) return false;
      input.releaseKey(letter);
      input.synchronize();
      server.freeze();
      input.waitForSilence();
      const bool done = pressButtonShiftAndLetter(journal, input) && journal.willBindKey(key);
      input.bind(key, someSymbol);
      return done;
    });
    EXPECT_TRUE(host.workedWell());
    host.end(SIGKILL);
    server.thaw();
    EXPECT_TRUE(host.allAreGone());
    ASSERT_EQ(probe.pressed(), nothing) << round;
    ASSERT_EQ(probe.symbolsOf(key).front(), xcb_keysym_t{XCB_NO_SYMBOL}) << round;
  }
}

// A server forgets what a client has asked for last when it finds that client gone.
TEST_F(Guardian, RepeatsReleasesThatDidNotReachTheServer) {
  DyingHost host(server.display(), [&](auto& journal, auto& input) {
    const bool done = pressButtonShiftAndLetter(journal, input);
    input.synchronize();
    server.freeze();
    input.waitForSilence();
    input.releaseButton(leftButton);
    input.releaseKey(letter);
    input.releaseKey(shift);
    return done;
  });
  EXPECT_TRUE(host.workedWell());
  host.end(SIGKILL);
  server.thaw();
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

TEST_F(Guardian, EndsWithAHostThatHoldsNothing) {
  DyingHost host(server.display(), [](auto& journal, auto& input) {
    const bool done = pressButton(journal, input, rightButton);
    input.releaseButton(rightButton);
    return done;
  });
  ASSERT_TRUE(host.workedWell());
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
}

TEST_F(Guardian, KnowsFromItsFirstMomentWhatItIsStartedWith) {
  DyingHost host(server.display(), [](auto& /*journal*/, auto& input) {
    input.pressKey(letter);
    input.synchronize();
    const auto message = journalMessage({InputChange::pressKey, letter});
    const auto guardian = GuardianProcess::start(QUORVIN_INPUT_GUARDIAN, message);
    if (guardian != nullptr) ::kill(::getpid(), SIGKILL);
    return false;
  });
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

// For the guardian's socket that is an end of its own kind.
TEST_F(Guardian, TakesTheMessagesOfAHostThatDidNotReadThatItIsReady) {
  std::unique_ptr<GuardianProcess> guardian;
  DyingHost host(server.display(), [&guardian](auto& /*journal*/, auto& input) {
    guardian = GuardianProcess::start(QUORVIN_INPUT_GUARDIAN);
    if (guardian == nullptr) return false;
    pollfd ready{.fd = guardian->descriptor(), .events = POLLIN, .revents = 0};
    if (::poll(&ready, 1, 20'000) != 1) return false;
    const auto process = childrenOf(::getpid()).at(0);
    ::kill(process, SIGSTOP);
    if (::waitpid(process, nullptr, WUNTRACED) != process) return false;
    const bool isTold = guardian->send(journalMessage({InputChange::pressKey, letter}));
    input.pressKey(letter);
    return isTold;
  });
  ASSERT_TRUE(host.workedWell());
  ASSERT_TRUE(probe.waitFor({.buttons = {}, .keys = {letter}}));
  const auto process = host.guardian();
  host.end(SIGKILL);
  ::kill(process, SIGCONT);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

TEST_F(Guardian, SurvivesAnyMessage) {
  DyingHost host(server.display(), [](auto& /*journal*/, auto& input) {
    const auto guardian = GuardianProcess::start(QUORVIN_INPUT_GUARDIAN);
    if (guardian == nullptr || !guardian->isReadyWithin(20s)) return false;
    std::minstd_rand random(9);
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    for (int message = 0; message < 2000; ++message) {
      JournalMessage bytes(1 + random() % (message % 100 == 0 ? 20'000 : 9));
      for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() % 256);
      // Only the kinds there are not: what is held in the end is to be known.
      for (std::size_t kind = 0; kind < bytes.size(); kind += 2) bytes[kind] |= 8;
      while (!guardian->send(bytes)) {
        if (std::chrono::steady_clock::now() > deadline) return false;
      }
    }
    while (!guardian->send(journalMessage({InputChange::pressKey, letter}))) {
      if (std::chrono::steady_clock::now() > deadline) return false;
    }
    input.pressKey(letter);
    input.synchronize();
    ::kill(::getpid(), SIGKILL);
    return false;
  });
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

// How often the process has given up the processor to wait for something.
std::string waits(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("voluntary_ctxt_switches")) return line;
  }
  return "";
}

TEST_F(Guardian, DoesNothingWhileNothingHappens) {
  DyingHost host(server.display(), pressButtonShiftAndLetter);
  const auto guardian = host.guardian();
  ASSERT_GT(guardian, 0);
  bool rested = false;
  for (int attempt = 0; attempt < 40 && !rested; ++attempt) {
    const auto before = waits(guardian);
    ASSERT_NE(before, "");
    std::this_thread::sleep_for(500ms);
    rested = waits(guardian) == before;
  }
  EXPECT_TRUE(rested);
}

TEST_F(Guardian, IsTheHostsToStart) {
  ::setenv("DISPLAY", server.display().c_str(), 1);
  const int status = std::system("\"" QUORVIN_INPUT_GUARDIAN "\" </dev/null 2>/dev/null");
  EXPECT_EQ(WEXITSTATUS(status), 1);
}

}  // namespace
}  // namespace quorvin
