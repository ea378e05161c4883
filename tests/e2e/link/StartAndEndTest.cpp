// What the host cannot start without, and how it ends.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <csignal>
#include <string>

#include "tests/e2e/link/HostStand.h"
#include "tests/e2e/link/WindowProbe.h"

namespace quorvin {
namespace {

class StartUp : public testing::Test {
 protected:
  // Runs a host that is not to start; returns what it says on standard error.
  std::string failToStart(const std::vector<std::string>& variables, FileDescriptor link = {}) {
    auto environment = stand.environment();
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

  HostStand stand;
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

TEST_F(StartUp, RefusesAnUnattendedRunThatIsNotEnabled) {
  auto [own, hosts] = makeLinkPair();
  const auto host = stand.startHost(std::move(hosts), {"--unattended"});
  EXPECT_EQ(host->statusWithin(), 2);
}

// A run that the account's owner has enabled before.
class UnattendedRun : public testing::Test {
 protected:
  UnattendedRun() { stand.enableUnattendedAccess("Till 4"); }

  HostStand stand;
};

TEST_F(UnattendedRun, EndsWithStatusOneWhenTheLinkCloses) {
  ConnectedHost host(stand, {"--unattended"});
  const auto reply = host.client->call("capabilities");
  const auto* capabilities = std::get<Value>(reply).as<Map>();
  ASSERT_NE(capabilities, nullptr);
  EXPECT_EQ(*capabilities->find("unattended"), Value(true));
  EXPECT_EQ(*capabilities->find("unattendedName"), Value("Till 4"));
  host.client->close();
  EXPECT_EQ(host.process->statusWithin(), 1) << host.process->errorOutput();
}

TEST_F(UnattendedRun, EndsWithStatusZeroWhenAskedTo) {
  ConnectedHost host(stand, {"--unattended"});
  host.client->call("permissions");
  host.process->send(SIGTERM);
  EXPECT_EQ(host.process->statusWithin(), 0) << host.process->errorOutput();
}

TEST_F(UnattendedRun, NeverShowsItsWindow) {
  const WindowProbe probe(stand.server.display());
  ConnectedHost host(stand, {"--unattended"});
  host.client->call("permissions");
  EXPECT_TRUE(probe.shownWindows().empty());
  host.client->call("startCapture", Map{{"unattended", true}});
  EXPECT_TRUE(probe.shownWindows().empty());
}

TEST(InteractiveRun, ShowsItsWindowAndEndsWhenThatIsClosed) {
  HostStand stand;
  const WindowProbe probe(stand.server.display());
  ConnectedHost host(stand);
  const auto window = probe.waitForWindow("Quorvin Support");
  ASSERT_TRUE(window.has_value());
  EXPECT_EQ(probe.sizeOf(*window), (JpegSize{720, 640}));
  probe.askToClose(*window);
  EXPECT_EQ(host.process->statusWithin(), 0) << host.process->errorOutput();
  EXPECT_TRUE(host.client->isClosedWithin());
}

}  // namespace
}  // namespace quorvin
