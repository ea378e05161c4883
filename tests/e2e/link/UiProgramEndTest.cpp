// The user-interface program that the host starts by itself.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>

#include "tests/e2e/link/HostHarness.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;

class UiProgramOfHost : public testing::Test {
 protected:
  // A host with a shell script for a user interface.
  std::unique_ptr<HostProcess> startWith(const std::string& text) {
    auto variables = harness.environment();
    variables.push_back("QUORVIN_UI=" + harness.home.writeScript("ui", text));
    return std::make_unique<HostProcess>(HostProcess::Launch{
        .program = QUORVIN_HOST, .arguments = {}, .environment = variables, .link = {}});
  }

  // The process id that the script has written into the file "ready".
  pid_t waitForProgram() const {
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (std::chrono::steady_clock::now() < deadline) {
      pid_t program = 0;
      std::ifstream file(harness.home.path() / "ready");
      if (file >> program) return program;
      std::this_thread::sleep_for(5ms);
    }
    ADD_FAILURE() << "the user interface was not started";
    return -1;
  }

  // Neither running nor a zombie.
  static bool isGone(pid_t program) { return program > 0 && ::kill(program, 0) != 0; }

  HostHarness harness;
};

// Writes its process id in one step.
constexpr auto announce =
    "echo $$ > \"$HOME/ready.new\" && mv \"$HOME/ready.new\" \"$HOME/ready\"\n";

TEST_F(UiProgramOfHost, EndsTheHostByLeaving) {
  const auto host = startWith(std::string(announce) + "exit 0\n");
  const auto program = waitForProgram();
  EXPECT_EQ(host->statusWithin(), 0) << host->errorOutput();
  EXPECT_TRUE(isGone(program));
}

TEST_F(UiProgramOfHost, EndsTheHostWithStatusOneByFailing) {
  for (const auto* failure : {"exit 3\n", "kill -9 $$\n"}) {
    const auto host = startWith("echo 'out of order' >&2\n" + std::string(failure));
    EXPECT_EQ(host->statusWithin(), 1) << failure;
    EXPECT_EQ(host->errorOutput().find("out of order\nquorvin-support: "), 0U)
        << host->errorOutput();
  }
}

TEST_F(UiProgramOfHost, MayFailWhenTheHostIsAskedToEnd) {
  const auto host = startWith(std::string(announce) + "read line <&3\nexit 3\n");
  waitForProgram();
  host->send(SIGTERM);
  EXPECT_EQ(host->statusWithin(), 0) << host->errorOutput();
  EXPECT_EQ(host->errorOutput(), "");
}

TEST_F(UiProgramOfHost, LeavesWithTheHost) {
  const auto host = startWith(std::string(announce) + "read line <&3\nexit 0\n");
  const auto program = waitForProgram();
  host->send(SIGTERM);
  EXPECT_EQ(host->statusWithin(), 0) << host->errorOutput();
  EXPECT_TRUE(isGone(program));
}

TEST_F(UiProgramOfHost, IsKilledWhenItStays) {
  const auto host = startWith("trap '' TERM\n" + std::string(announce) +
                              "for beat in $(seq 300); do sleep 0.1; done\n");
  const auto program = waitForProgram();
  host->send(SIGTERM);
  EXPECT_EQ(host->statusWithin(), 0) << host->errorOutput();
  EXPECT_TRUE(isGone(program));
}

TEST_F(UiProgramOfHost, IsFoundBesideTheHost) {
  // A link to the host counts as the file that it leads to, so this one is a copy.
  const auto copy = harness.home.path() / "quorvin-support";
  std::filesystem::copy_file(QUORVIN_HOST, copy);
  const auto beside = harness.home.writeScript("quorvin-webui", std::string(announce));
  HostProcess host(
      {.program = copy, .arguments = {}, .environment = harness.environment(), .link = {}});
  EXPECT_TRUE(isGone(waitForProgram()) || host.statusWithin() == 0);
  EXPECT_EQ(host.statusWithin(), 0) << host.errorOutput();
}

}  // namespace
}  // namespace quorvin
