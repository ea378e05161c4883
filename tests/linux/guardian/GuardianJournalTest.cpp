// What the host does for having a guardian, and without one.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>

#include "platform/linux/input/GuardianJournal.h"
#include "tests/ChildProgram.h"
#include "tests/TemporaryFolder.h"
#include "tests/linux/guardian/DyingHost.h"
#include "tests/linux/guardian/ScreenInput.h"
#include "tests/linux/system/WaitingTime.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::uint8_t button = 1;
constexpr std::uint8_t letter = 38;
constexpr std::uint8_t shift = 50;
constexpr xcb_keysym_t letterSymbol = 0x61;

const ScreenInput::Pressed nothing;

void expectRefusal(GuardianJournal& journal) {
  EXPECT_FALSE(journal.willPressButton(button));
  EXPECT_FALSE(journal.willPressKey(letter));
  EXPECT_FALSE(journal.willBindKey(letter));
  journal.didUnbindKey(letter);
}

TEST(GuardianJournal, RefusesEveryPressWhenThereIsNoGuardian) {
  GuardianJournal journal(nullptr, "/nonexistent/guardian");
  expectRefusal(journal);
}

TEST(GuardianJournal, RefusesEveryPressWhenTheGuardianIsNeverReady) {
  GuardianJournal journal(nullptr, "/bin/true");
  expectRefusal(journal);
}

TEST(GuardianJournal, RefusesEveryPressWhenTheGuardianHasNoDisplay) {
  ::unsetenv("DISPLAY");
  GuardianJournal journal(nullptr, QUORVIN_INPUT_GUARDIAN);
  expectRefusal(journal);
}

TEST(GuardianJournal, StartsAGuardianThatCannotLiveOnceInAWhileOnly) {
  const TemporaryFolder folder;
  const auto program = folder.path("guardian");
  std::ofstream(program) << "#!/bin/sh\necho start >> \"$0.starts\"\n";
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  GuardianJournal journal(nullptr, program);
  const auto begin = Clock::now();
  for (int press = 0; press < 1000; ++press) EXPECT_FALSE(journal.willPressKey(letter));
  const auto intervals = (Clock::now() - begin) / GuardianJournal::startInterval;
  std::ifstream file(program.string() + ".starts");
  long starts = 0;
  for (std::string line; std::getline(file, line);) ++starts;
  EXPECT_GE(starts, 1);
  EXPECT_LE(starts, intervals + 2);
}

class GuardianJournalOnAScreen : public testing::Test {
 protected:
  // Presses as soon as that is allowed again.
  static bool pressInTime(GuardianJournal& journal, ScreenInput& input, std::uint8_t key) {
    const auto deadline = Clock::now() + 20s;
    while (!pressKey(journal, input, key)) {
      if (Clock::now() > deadline) return false;
      std::this_thread::sleep_for(5ms);
    }
    return true;
  }
  static void killAndWait(pid_t guardian) {
    ::kill(guardian, SIGKILL);
    const auto deadline = Clock::now() + 20s;
    while (onlyChild() > 0 && Clock::now() < deadline) std::this_thread::sleep_for(1ms);
  }
  static bool waitForAnotherGuardian(const DyingHost& host, pid_t first) {
    const auto deadline = Clock::now() + 20s;
    while (Clock::now() < deadline) {
      // Asked once a round: between two looks the first may end.
      const auto now = host.guardian();
      if (now > 0 && now != first) return true;
      std::this_thread::sleep_for(5ms);
    }
    return false;
  }
  static pid_t onlyChild() {
    const auto children = childrenOf(::getpid());
    return children.size() == 1 ? children.front() : -1;
  }

  XServer server{{"-noreset"}};
  ScreenInput probe{server.display()};
};

TEST_F(GuardianJournalOnAScreen, TellsAnotherGuardianAllWhenTheFirstIsGone) {
  DyingHost host(server.display(), [](auto& journal, auto& input) {
    if (!pressButton(journal, input, button) || !pressKey(journal, input, shift)) return false;
    killAndWait(onlyChild());
    return pressInTime(journal, input, letter);
  });
  ASSERT_TRUE(host.workedWell());
  ASSERT_TRUE(probe.waitFor({.buttons = {button}, .keys = {letter, shift}}));
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

TEST_F(GuardianJournalOnAScreen, HasAnotherGuardianThoughNothingMoreIsPressed) {
  DyingHost host(server.display(), [](auto& journal, auto& input) {
    return pressButton(journal, input, button) && pressKey(journal, input, shift);
  });
  ASSERT_TRUE(host.workedWell());
  const auto first = host.guardian();
  ASSERT_GT(first, 0);
  ::kill(first, SIGKILL);
  ASSERT_TRUE(waitForAnotherGuardian(host, first));
  ASSERT_TRUE(probe.waitFor({.buttons = {button}, .keys = {shift}}));
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

TEST_F(GuardianJournalOnAScreen, HasAGuardianBeforeTheFirstPress) {
  DyingHost host(server.display(), [](auto& journal, auto& input) {
    journal.prepare();
    const auto first = onlyChild();
    return first > 0 && pressKey(journal, input, shift) && onlyChild() == first;
  });
  EXPECT_TRUE(host.workedWell());
}

// Also one that was started a moment ago, and the host ends a moment later.
TEST_F(GuardianJournalOnAScreen, HasAnotherGuardianAtOnceWhenTheFirstIsGone) {
  const auto spare = probe.keyWithoutSymbols();
  DyingHost host(server.display(), [spare](auto& journal, auto& input) {
    if (!pressButton(journal, input, button) || !pressKey(journal, input, shift)) return false;
    if (!journal.willBindKey(spare)) return false;
    input.bind(spare, letterSymbol);
    input.synchronize();
    killAndWait(onlyChild());
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
    ::kill(::getpid(), SIGKILL);
    return false;
  });
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
  EXPECT_EQ(probe.symbolsOf(spare).front(), xcb_keysym_t{XCB_NO_SYMBOL});
}

TEST_F(GuardianJournalOnAScreen, HasNoMoreThanOneGuardianASecondWhenOneAfterTheOtherIsGone) {
  DyingHost host(server.display(), [](auto& journal, auto& input) {
    if (!pressKey(journal, input, shift)) return false;
    const auto begin = Clock::now();
    std::set<pid_t> seen;
    while (Clock::now() < begin + 2 * GuardianJournal::startInterval) {
      if (const auto guardian = onlyChild(); guardian > 0) {
        seen.insert(guardian);
        ::kill(guardian, SIGKILL);
      }
      g_main_context_iteration(nullptr, TRUE);
    }
    const auto intervals = (Clock::now() - begin) / GuardianJournal::startInterval;
    return seen.size() >= 2 && seen.size() <= static_cast<std::size_t>(intervals) + 2;
  });
  EXPECT_TRUE(host.workedWell());
}

TEST_F(GuardianJournalOnAScreen, HasTheRestGuardedWhenAReleaseFindsTheGuardianGone) {
  DyingHost host(server.display(), [](auto& journal, auto& input) {
    if (!pressKey(journal, input, letter) || !pressKey(journal, input, shift)) return false;
    killAndWait(onlyChild());
    input.releaseKey(letter);
    return true;
  });
  ASSERT_TRUE(host.workedWell());
  ASSERT_TRUE(probe.waitFor({.buttons = {}, .keys = {shift}}));
  ASSERT_TRUE(waitForAnotherGuardian(host, -1));
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

// A guardian that is stuck must neither hold the host up nor believe that the host has ended when
// it is replaced.
TEST_F(GuardianJournalOnAScreen, ReplacesAGuardianThatReadsNoMore) {
  DyingHost host(server.display(), [](auto& journal, auto& input) {
    if (!pressKey(journal, input, shift)) return false;
    std::this_thread::sleep_for(GuardianJournal::startInterval);
    const auto first = onlyChild();
    ::kill(first, SIGSTOP);
    for (int press = 0; press < 100'000 && onlyChild() == first; ++press) {
      if (!journal.willPressKey(letter)) return false;
    }
    return onlyChild() != first && pressKey(journal, input, letter);
  });
  ASSERT_TRUE(host.workedWell());
  ASSERT_TRUE(probe.waitFor({.buttons = {}, .keys = {letter, shift}}));
  host.end(SIGKILL);
  EXPECT_TRUE(host.allAreGone());
  EXPECT_EQ(probe.pressed(), nothing);
}

TEST_F(GuardianJournalOnAScreen, RefusesPressesOnceTheServerIsGone) {
  ::setenv("DISPLAY", server.display().c_str(), 1);
  GuardianJournal journal(nullptr, QUORVIN_INPUT_GUARDIAN);
  ASSERT_TRUE(journal.willPressKey(letter));
  server.end();
  const auto deadline = Clock::now() + 20s;
  while (journal.willPressKey(letter) && Clock::now() < deadline) std::this_thread::sleep_for(1ms);
  expectRefusal(journal);
}

TEST_F(GuardianJournalOnAScreen, WaitsOnceOnlyForAServerThatHangs) {
  ::setenv("DISPLAY", server.display().c_str(), 1);
  server.freeze();
  GuardianJournal journal(nullptr, QUORVIN_INPUT_GUARDIAN);
  EXPECT_FALSE(journal.willPressKey(letter));
  const WaitingTime waited;
  for (int press = 0; press < 100; ++press) EXPECT_FALSE(journal.willPressKey(letter));
  EXPECT_LT(waited.passed(), GuardianJournal::readyTimeout);
  server.thaw();
  const auto deadline = Clock::now() + 20s;
  while (!journal.willPressKey(letter) && Clock::now() < deadline) std::this_thread::sleep_for(1ms);
  EXPECT_TRUE(journal.willPressKey(letter));
}

}  // namespace
}  // namespace quorvin
