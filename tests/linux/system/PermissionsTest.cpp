#include <gtest/gtest.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <array>
#include <chrono>
#include <climits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/system/Permissions.h"
#include "platform/linux/x11/X11Connection.h"
#include "tests/TemporaryFolder.h"
#include "tests/fakes/FakeProcess.h"
#include "tests/linux/system/MainLoop.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;

class PermissionsTest : public testing::Test {
 protected:
  std::unique_ptr<LinuxPermissions> on(const std::string& display, bool isWaylandSession = false) {
    PermissionsEnvironment environment;
    environment.display = display;
    environment.isWaylandSession = isWaylandSession;
    return std::make_unique<LinuxPermissions>(process, environment);
  }

  fakes::FakeProcess process;
};

TEST_F(PermissionsTest, AreGrantedOnAnOrdinaryDisplayWithoutAWord) {
  const XServer server;
  auto permissions = on(server.display());
  EXPECT_TRUE(permissions->preflightScreenCaptureAccess());
  EXPECT_TRUE(permissions->requestScreenCaptureAccess());
  EXPECT_TRUE(permissions->isProcessTrusted());
  EXPECT_TRUE(permissions->isProcessTrustedWithOptions(true));
  EXPECT_EQ(process.standardError, "");
}

TEST_F(PermissionsTest, AllowCaptureOnlyWhereTheDisplayTakesNoSyntheticInput) {
  const XServer server({"-extension", "XTEST"});
  auto permissions = on(server.display());
  EXPECT_TRUE(permissions->requestScreenCaptureAccess());
  EXPECT_FALSE(permissions->isProcessTrusted());
  EXPECT_FALSE(permissions->isProcessTrustedWithOptions(false));
  EXPECT_EQ(process.standardError, "");
  EXPECT_FALSE(permissions->isProcessTrustedWithOptions(true));
  EXPECT_NE(process.standardError.find("XTEST"), std::string::npos);
}

TEST_F(PermissionsTest, SayWhatToDoWithoutADisplay) {
  auto permissions = on("");
  EXPECT_FALSE(permissions->preflightScreenCaptureAccess());
  EXPECT_FALSE(permissions->isProcessTrusted());
  EXPECT_EQ(process.standardError, "");
  EXPECT_FALSE(permissions->requestScreenCaptureAccess());
  EXPECT_NE(process.standardError.find("DISPLAY is not set"), std::string::npos);
  EXPECT_EQ(process.standardError.find("Wayland"), std::string::npos);
}

TEST_F(PermissionsTest, NameWaylandWhereItIsTheReason) {
  EXPECT_FALSE(on("", true)->isProcessTrustedWithOptions(true));
  EXPECT_NE(process.standardError.find("Wayland"), std::string::npos);
}

using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

// Calls the server's monitor so, for as long as the connection is open: a server without clients
// begins anew. libxcb 1.15's own function for it sends lengths that it has never set.
Connection nameMonitor(const std::string& display, std::string_view name) {
  Connection connection(xcb_connect(display.c_str(), nullptr), xcb_disconnect);
  auto* server = connection.get();
  const auto root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
  const auto length = static_cast<std::uint16_t>(name.size());
  const auto atom = x11Reply(xcb_intern_atom_reply, server,
                             xcb_intern_atom(server, /*only_if_exists=*/0, length, name.data()));
  const auto resources = x11Reply(xcb_randr_get_screen_resources_reply, server,
                                  xcb_randr_get_screen_resources(server, root));
  struct {
    xcb_randr_set_monitor_request_t head = {};
    xcb_randr_monitor_info_t info = {};
    xcb_randr_output_t output = 0;
  } request;
  request.head.window = root;
  request.info.name = atom->atom;
  request.info.nOutput = 1;
  request.info.width = request.info.height = 100;
  request.output = *xcb_randr_get_screen_resources_outputs(resources.get());
  const xcb_protocol_request_t kind = {1, &xcb_randr_id, XCB_RANDR_SET_MONITOR, /*isvoid=*/1};
  // libxcb wants two parts before the first, for what it adds.
  std::array<iovec, 3> parts = {{{}, {}, {&request, sizeof request}}};
  xcb_send_request(server, 0, &parts[2], &kind);
  EXPECT_NE(x11Reply(xcb_get_input_focus_reply, server, xcb_get_input_focus(server)), nullptr);
  return connection;
}

TEST_F(PermissionsTest, AreNotGrantedWhereAPartOfTheScreenIsAllThereIs) {
  const XServer server;
  const auto connection = nameMonitor(server.display(), "XWAYLAND0");
  auto permissions = on(server.display(), true);
  EXPECT_FALSE(permissions->isProcessTrusted());
  EXPECT_FALSE(permissions->requestScreenCaptureAccess());
  EXPECT_NE(process.standardError.find("choose an X11 session"), std::string::npos);
  EXPECT_FALSE(permissions->isProcessTrustedWithOptions(true));
}

TEST_F(PermissionsTest, NameTheDisplayThatCannotBeOpened) {
  EXPECT_FALSE(on("/nowhere/display")->requestScreenCaptureAccess());
  EXPECT_NE(process.standardError.find("/nowhere/display"), std::string::npos);
}

TEST_F(PermissionsTest, EndWithTheDisplayAndComeBackWithANewOne) {
  auto server = std::make_unique<XServer>();
  const auto display = server->display();
  auto permissions = on(display);
  ASSERT_TRUE(permissions->isProcessTrusted());
  server->end();
  EXPECT_TRUE(runMainLoopUntil([&] { return !permissions->isProcessTrusted(); }));
  EXPECT_FALSE(permissions->preflightScreenCaptureAccess());
  server = std::make_unique<XServer>(std::vector<std::string>{display});
  EXPECT_TRUE(runMainLoopUntil([&] { return permissions->isProcessTrusted(); }));
  EXPECT_TRUE(permissions->preflightScreenCaptureAccess());
}

// Called for every input event. A display that is asked would not answer here at all.
TEST_F(PermissionsTest, AreReadWithoutAskingTheDisplayAgain) {
  const XServer server;
  auto permissions = on(server.display());
  ASSERT_TRUE(permissions->isProcessTrusted());
  server.freeze();
  for (int event = 0; event < 1000; ++event) EXPECT_TRUE(permissions->isProcessTrusted());
  server.thaw();
}

TEST_F(PermissionsTest, WaitForADisplayThatHangsOnceAndNotForLong) {
  const XServer server;
  server.freeze();
  auto permissions = on(server.display());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(permissions->preflightScreenCaptureAccess());
  const auto first = std::chrono::steady_clock::now();
  EXPECT_GE(first - start, 500ms);
  EXPECT_LT(first - start, 10s);
  for (int call = 0; call < 100; ++call) EXPECT_FALSE(permissions->isProcessTrusted());
  EXPECT_LT(std::chrono::steady_clock::now() - first, 10s);
}

// As in a host that has been running for a while.
TEST_F(PermissionsTest, WaitForNoDisplayThatHangsLater) {
  auto server = std::make_unique<XServer>();
  const auto display = server->display();
  auto permissions = on(display);
  ASSERT_TRUE(permissions->isProcessTrusted());
  server->end();
  ASSERT_TRUE(runMainLoopUntil([&] { return !permissions->isProcessTrusted(); }));
  // Or the last question would reach the new server before that hangs.
  ASSERT_TRUE(runMainLoopUntil([&] { return permissions->areKnown(); }));
  server = std::make_unique<XServer>(std::vector<std::string>{display});
  server->freeze();
  const auto start = std::chrono::steady_clock::now();
  for (int call = 0; call < 100; ++call) EXPECT_FALSE(permissions->isProcessTrusted());
  EXPECT_LT(std::chrono::steady_clock::now() - start, 500ms);
  server->thaw();
  EXPECT_TRUE(runMainLoopUntil([&] { return permissions->isProcessTrusted(); }));
}

TEST_F(PermissionsTest, AreKnownOnceTheDisplayHasAnsweredOrFailed) {
  const XServer server;
  server.freeze();
  auto permissions = on(server.display());
  EXPECT_FALSE(permissions->areKnown());
  server.thaw();
  EXPECT_TRUE(runMainLoopUntil([&] { return permissions->areKnown(); }));
  EXPECT_TRUE(permissions->isProcessTrusted());
  auto nowhere = on("/nowhere/display");
  EXPECT_TRUE(runMainLoopUntil([&] { return nowhere->areKnown(); }));
  EXPECT_TRUE(on("")->areKnown());
}

TEST_F(PermissionsTest, AreGrantedOnceADisplayThatHungAnswers) {
  const XServer server;
  server.freeze();
  auto permissions = on(server.display());
  EXPECT_FALSE(permissions->isProcessTrusted());
  server.thaw();
  EXPECT_TRUE(runMainLoopUntil([&] { return permissions->isProcessTrusted(); }));
}

TEST(PrettyHostName, IsReadInAllItsQuotings) {
  EXPECT_EQ(prettyHostName("PRETTY_HOSTNAME=\"Büro \\\"1\\\"\"\n"), "Büro \"1\"");
  EXPECT_EQ(prettyHostName("ICON_NAME=computer\nPRETTY_HOSTNAME='Front Desk'"), "Front Desk");
  EXPECT_EQ(prettyHostName("PRETTY_HOSTNAME=desk\nCHASSIS=desktop\n"), "desk");
  EXPECT_EQ(prettyHostName("PRETTY_HOSTNAME=old\nPRETTY_HOSTNAME=new\n"), "new");
}

TEST(PrettyHostName, IsNothingWhenAbsentEmptyOrBroken) {
  for (const char* machineInfo :
       {"", "\n\n", "CHASSIS=desktop\n", "PRETTY_HOSTNAME=", "PRETTY_HOSTNAME=\"\"\n",
        "PRETTY_HOSTNAME=\"open\n", "PRETTY_HOSTNAME=\xFF\n", "#PRETTY_HOSTNAME=desk\n"}) {
    EXPECT_EQ(prettyHostName(machineInfo), std::nullopt) << machineInfo;
  }
}

TEST(ComputerName, IsThePrettyNameOrElseTheHostName) {
  const TemporaryFolder folder;
  std::array<char, HOST_NAME_MAX + 1> hostName{};
  ASSERT_EQ(gethostname(hostName.data(), hostName.size()), 0);
  EXPECT_EQ(computerName(folder.write("pretty", "PRETTY_HOSTNAME=\"Front Desk\"\n")), "Front Desk");
  EXPECT_EQ(computerName(folder.write("plain", "CHASSIS=desktop\n")), hostName.data());
  EXPECT_EQ(computerName(folder.path("missing")), hostName.data());
}

}  // namespace
}  // namespace quorvin
