// What the host cannot start without, and how it ends.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/e2e/link/HostHarness.h"
#include "tests/e2e/link/ScreenNoise.h"
#include "tests/e2e/link/WindowProbe.h"

namespace quorvin {
namespace {

class StartUp : public testing::Test {
 protected:
  // Runs a host that is not to start; returns what it says on standard error.
  std::string failToStart(const std::vector<std::string>& variables, FileDescriptor link = {}) {
    auto environment = harness.environment();
    environment.insert(environment.end(), variables.begin(), variables.end());
    HostProcess host({.program = QUORVIN_HOST,
                      .arguments = {},
                      .environment = environment,
                      .link = std::move(link)});
    EXPECT_EQ(host.statusWithin(), 1);
    auto said = host.errorOutput();
    EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
    return said;
  }

  HostHarness harness;
};

TEST_F(StartUp, FailsWithoutADisplay) {
  auto [own, hosts] = makeLinkPair();
  const auto said = failToStart({"DISPLAY=", "QUORVIN_UI_FD=3"}, std::move(hosts));
  EXPECT_NE(said.find("DISPLAY"), std::string::npos) << said;
}

TEST_F(StartUp, FailsWithADescriptorThatIsNoLink) {
  for (const auto* value : {"", "three", "-1", "3", "99"}) {
    const auto said = failToStart({"QUORVIN_UI_FD=" + std::string(value)});
    EXPECT_NE(said.find("QUORVIN_UI_FD"), std::string::npos) << said;
  }
  const auto said =
      failToStart({"QUORVIN_UI_FD=3"}, FileDescriptor(::open("/dev/null", O_RDWR | O_CLOEXEC)));
  EXPECT_NE(said.find("QUORVIN_UI_FD"), std::string::npos) << said;
}

TEST_F(StartUp, FailsWithAUserInterfaceThatCannotBeStarted) {
  const auto said = failToStart({"QUORVIN_UI=/nonexistent/user\ninterface"});
  EXPECT_NE(said.find("/nonexistent/user interface"), std::string::npos) << said;
}

// What a program says and, behind it, the status that it ends with.
std::string saidBy(const std::string& command) {
  std::string said(4096, '\0');
  const auto run = "unset DISPLAY; " + command + " 2>&1; echo $?";
  auto* const pipe = ::popen(run.c_str(), "r");
  said.resize(std::fread(said.data(), 1, said.size(), pipe));
  ::pclose(pipe);
  return said;
}

TEST(Version, IsToldWithoutADisplayByBothPrograms) {
  const std::filesystem::path host = QUORVIN_HOST;
  for (const auto& program : {host, host.parent_path() / "quorvin-webui"}) {
    const auto quoted = "'" + program.string() + "'";
    EXPECT_EQ(saidBy(quoted + " --version"), "Quorvin Support " QUORVIN_VERSION "\n0\n");
    EXPECT_TRUE(saidBy(quoted + " --Version").ends_with("\n1\n"));
  }
}

// It may be the name that somebody gives, or what comes beside a command.
TEST(Version, IsNotToldBesideAnythingElse) {
  const auto host = std::string("'") + QUORVIN_HOST + "'";
  EXPECT_TRUE(saidBy(host + " --help-unattended --version").starts_with("Quorvin unattended"));
  EXPECT_TRUE(saidBy(host + " --unattended --version").ends_with("first.\n2\n"));
}

TEST_F(StartUp, RefusesAnUnattendedRunThatIsNotEnabled) {
  auto [own, hosts] = makeLinkPair();
  const auto host = harness.startHost(std::move(hosts), {"--unattended"});
  EXPECT_EQ(host->statusWithin(), 2);
}

// A run that the account's owner has enabled before.
class UnattendedRun : public testing::Test {
 protected:
  UnattendedRun() { harness.enableUnattendedAccess("Till 4"); }

  HostHarness harness;
};

TEST_F(UnattendedRun, EndsWithStatusOneWhenTheLinkCloses) {
  ConnectedHost host(harness, {"--unattended"});
  const auto reply = host.client->call("capabilities");
  const auto* capabilities = std::get<Value>(reply).as<Map>();
  ASSERT_NE(capabilities, nullptr);
  EXPECT_EQ(*capabilities->find("unattended"), Value(true));
  EXPECT_EQ(*capabilities->find("unattendedName"), Value("Till 4"));
  host.client->close();
  EXPECT_EQ(host.process->statusWithin(), 1) << host.process->errorOutput();
}

TEST_F(UnattendedRun, EndsWithStatusZeroWhenAskedTo) {
  ConnectedHost host(harness, {"--unattended"});
  host.client->call("permissions");
  host.process->send(SIGTERM);
  EXPECT_EQ(host.process->statusWithin(), 0) << host.process->errorOutput();
}

TEST_F(UnattendedRun, OutlivesTheLossOfItsWindow) {
  const WindowProbe probe(harness.server.display());
  const ScreenNoise noise(harness.server.display());
  ConnectedHost host(harness, {"--unattended"});
  host.client->listen();
  ASSERT_EQ(host.client->call("startCapture", Map{{"unattended", true}}), FlutterReply(Value()));
  ASSERT_TRUE(probe.killGtk());
  EXPECT_EQ(host.process->statusWithin(std::chrono::milliseconds(500)), std::nullopt);
  host.client->discardEvents();
  EXPECT_TRUE(host.nextFrame());
}

TEST_F(UnattendedRun, NeverShowsItsWindow) {
  const WindowProbe probe(harness.server.display());
  ConnectedHost host(harness, {"--unattended"});
  host.client->call("permissions");
  EXPECT_TRUE(probe.shownWindows().empty());
  host.client->call("startCapture", Map{{"unattended", true}});
  EXPECT_TRUE(probe.shownWindows().empty());
}

TEST(InteractiveRun, ShowsItsWindowAndEndsWhenThatIsClosed) {
  HostHarness harness;
  const WindowProbe probe(harness.server.display());
  ConnectedHost host(harness);
  const auto window = probe.waitForWindow("Quorvin Support");
  ASSERT_TRUE(window.has_value());
  EXPECT_EQ(probe.sizeOf(*window), (JpegSize{720, 640}));
  probe.askToClose(*window);
  EXPECT_EQ(host.process->statusWithin(), 0) << host.process->errorOutput();
  EXPECT_TRUE(host.client->isClosedWithin());
}

// The window says that closing it ends sharing, so there is none without it.
TEST(InteractiveRun, EndsWithItsScreen) {
  HostHarness harness;
  ConnectedHost host(harness);
  ASSERT_TRUE(host.startCapture());
  harness.server.end();
  EXPECT_EQ(host.process->statusWithin(), 0) << host.process->errorOutput();
  EXPECT_TRUE(host.client->isClosedWithin());
}

TEST(InteractiveRun, ShowsItsWindowWhateverGtkIsToldToUse) {
  HostHarness harness;
  const WindowProbe probe(harness.server.display());
  auto variables = harness.environment();
  const auto told = harness.home.path() / "told";
  const auto program = harness.home.write("interface",
                                          "#!/bin/sh\n"
                                          "printf %s \"$GDK_BACKEND\" > \"$HOME/new\"\n"
                                          "mv \"$HOME/new\" \"$HOME/told\"\n"
                                          "read -r _ <&3\n");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  variables.insert(variables.end(), {"GDK_BACKEND=wayland", "QUORVIN_UI=" + program});
  HostProcess host(
      {.program = QUORVIN_HOST, .arguments = {}, .environment = variables, .link = {}});
  EXPECT_TRUE(probe.waitForWindow("Quorvin Support")) << host.errorOutput();
  // The browser is told what the user wants it to be told.
  std::string heard;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (heard.empty() && std::chrono::steady_clock::now() < deadline) {
    std::getline(std::ifstream(told), heard);
  }
  EXPECT_EQ(heard, "wayland");
  EXPECT_EQ(host.errorOutput(), "");
}

}  // namespace
}  // namespace quorvin
