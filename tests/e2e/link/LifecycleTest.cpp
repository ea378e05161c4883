// What the host says of its window's life cycle, on a screen with a window manager.

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/e2e/link/HostHarness.h"
#include "tests/e2e/link/WindowProbe.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;

constexpr auto resumed = "AppLifecycleState.resumed";
constexpr auto inactive = "AppLifecycleState.inactive";
constexpr auto hidden = "AppLifecycleState.hidden";

class Lifecycle : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(probe.waitForWindowManager()); }

  [[nodiscard]] OtherWindow open(OtherWindow::Kind kind) const {
    return OtherWindow(harness.server.display(), kind);
  }

  HostHarness harness{{.widthPx = 1280, .heightPx = 1024}};
  HostProcess windowManager{{.program = QUORVIN_OPENBOX,
                             .arguments = {"--sm-disable"},
                             .environment = harness.environment(),
                             .link = {}}};
  WindowProbe probe{harness.server.display()};
};

// A host whose window has the input focus.
class LifecycleOfWindow : public Lifecycle {
 protected:
  void SetUp() override {
    Lifecycle::SetUp();
    host.emplace(harness);
    const auto shown = probe.waitForManagedWindow("Quorvin Support");
    ASSERT_TRUE(shown.has_value());
    window = *shown;
    ASSERT_TRUE(probe.activate(window));
    ASSERT_TRUE(client().waitForLifecycleState(resumed));
  }

  LinkClient& client() { return *host->client; }

  std::optional<ConnectedHost> host;
  xcb_window_t window = XCB_WINDOW_NONE;
};

TEST_F(LifecycleOfWindow, IsInactiveWhileAnotherWindowHasTheFocus) {
  const auto other = open(OtherWindow::Kind::corner);
  ASSERT_TRUE(probe.activate(other.id()));
  EXPECT_TRUE(client().waitForLifecycleState(inactive));
  ASSERT_TRUE(probe.activate(window));
  EXPECT_TRUE(client().waitForLifecycleState(resumed));
}

TEST_F(LifecycleOfWindow, IsHiddenWhileMinimised) {
  probe.minimize(window);
  EXPECT_TRUE(client().waitForLifecycleState(hidden));
  ASSERT_TRUE(probe.activate(window));
  EXPECT_TRUE(client().waitForLifecycleState(resumed));
}

TEST_F(LifecycleOfWindow, IsHiddenOnADesktopThatIsNotShown) {
  probe.switchToDesktop(1);
  EXPECT_TRUE(client().waitForLifecycleState(hidden));
  probe.switchToDesktop(0);
  EXPECT_TRUE(client().waitForLifecycleState(resumed));
}

TEST_F(LifecycleOfWindow, IsHiddenWhileInactiveAndCovered) {
  {
    const auto other = open(OtherWindow::Kind::corner);
    ASSERT_TRUE(probe.activate(other.id()));
    ASSERT_TRUE(client().waitForLifecycleState(inactive));
    const auto curtain = open(OtherWindow::Kind::curtain);
    EXPECT_TRUE(client().waitForLifecycleState(hidden));
  }
  ASSERT_TRUE(probe.activate(window));
  EXPECT_TRUE(client().waitForLifecycleState(resumed));
}

TEST_F(LifecycleOfWindow, IsHiddenBehindAWindowThatFillsTheScreen) {
  const auto other = open(OtherWindow::Kind::fullScreen);
  ASSERT_TRUE(probe.activate(other.id()));
  EXPECT_TRUE(client().waitForLifecycleState(hidden));
  ASSERT_TRUE(probe.activate(window));
  EXPECT_TRUE(client().waitForLifecycleState(resumed));
}

TEST_F(LifecycleOfWindow, StaysResumedUnderACoverUntilItLosesTheFocus) {
  const auto curtain = open(OtherWindow::Kind::curtain);
  const auto other = open(OtherWindow::Kind::corner);
  ASSERT_TRUE(probe.activate(other.id()));
  auto state = client().nextLifecycleState();
  while (state == resumed) state = client().nextLifecycleState();
  EXPECT_EQ(state, hidden);
}

TEST_F(Lifecycle, IsHiddenInAnUnattendedRun) {
  harness.enableUnattendedAccess("Till 4");
  ConnectedHost host(harness, {"--unattended"});
  EXPECT_EQ(host.client->nextLifecycleState(), hidden);
  host.client->call("startCapture", Map{{"unattended", true}});
  EXPECT_EQ(host.client->nextLifecycleState(0ms), std::nullopt);
  EXPECT_TRUE(probe.managedWindows().empty());
}

}  // namespace
}  // namespace quorvin
