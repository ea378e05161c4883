#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Runner/DesktopShortcut.h"
#include "tests/fakes/FakeFiles.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto link = "/Users/someone/Desktop/Quorvin Support.app";
constexpr auto bundle = "/Applications/Quorvin Support.app";

FlutterReply failed(const std::string& message) {
  return FlutterError{"shortcut_failed", message, {}};
}
FlutterReply differentItem() {
  return failed("A different item named Quorvin Support already exists on the Desktop.");
}
FlutterReply installFirst() {
  return FlutterError{
      "install_first",
      "Move Quorvin Support to Applications, open it there, then create the shortcut.",
      {}};
}

class DesktopShortcutTest : public testing::Test {
 protected:
  DesktopShortcutTest() {
    files.addDirectory("/Users/someone/Desktop");
    files.addDirectory(bundle);
  }
  FlutterReply create() { return createDesktopShortcut(files); }
  void expectUntouched(const FlutterReply& reply) {
    EXPECT_EQ(create(), reply);
    EXPECT_THAT(files.changes, IsEmpty());
  }

  fakes::FakeFiles files;
};

TEST_F(DesktopShortcutTest, LinksToTheInstalledBundle) {
  EXPECT_EQ(create(), FlutterReply(Value()));
  EXPECT_EQ(files.destinationOfSymbolicLink(link), bundle);
}

TEST_F(DesktopShortcutTest, LinksIntoASubfolderOfTheUsersOwnApplications) {
  files.bundle = "/Users/someone/Applications/Tools/Quorvin Support.app";
  EXPECT_EQ(create(), FlutterReply(Value()));
  EXPECT_EQ(files.destinationOfSymbolicLink(link), files.bundle);
}

TEST_F(DesktopShortcutTest, NeedsAnInstalledCopy) {
  for (const auto* elsewhere :
       {"/Volumes/Quorvin Support/Quorvin Support.app",
        "/Users/someone/Downloads/Quorvin Support.app", "/Applications",
        "/Users/somebody/Applications/Quorvin Support.app", "/ApplicationsOld/Quorvin Support.app",
        "/Applications/Quorvin Support.APP", "/Applications/Quorvin Support",
        "/System/Applications/Quorvin Support.app"}) {
    files.bundle = elsewhere;
    expectUntouched(installFirst());
  }
}

TEST_F(DesktopShortcutTest, NeedsADesktop) {
  files.desktop.reset();
  expectUntouched(FlutterError{"desktop_unavailable", "The Desktop folder is unavailable.", {}});
}

TEST_F(DesktopShortcutTest, AskedTwiceItFindsItsOwnLink) {
  create();
  files.changes.clear();
  expectUntouched(Value());
}

TEST_F(DesktopShortcutTest, TakesARelativeLinkAsRelativeToTheDesktop) {
  files.addLink(link, "../../../Applications/./Quorvin Support.app/");
  expectUntouched(Value());
}

TEST_F(DesktopShortcutTest, LeavesALinkToAnotherCopyAlone) {
  files.addDirectory("/Users/someone/Applications/Quorvin Support.app");
  files.addLink(link, "/Users/someone/Applications/Quorvin Support.app");
  expectUntouched(differentItem());
}

TEST_F(DesktopShortcutTest, DoesNotFollowALinkThatOnlyLeadsOnToTheBundle) {
  files.addLink("/Users/someone/link", bundle);
  files.addLink(link, "/Users/someone/link");
  expectUntouched(differentItem());
}

TEST_F(DesktopShortcutTest, ReportsWhatTheSystemSaysOfADanglingLink) {
  files.addLink(link, "/nowhere");
  EXPECT_EQ(create(), failed(std::string(link) + " exists already."));
  EXPECT_EQ(files.destinationOfSymbolicLink(link), "/nowhere");
}

TEST_F(DesktopShortcutTest, LeavesAFileAlone) {
  files.addFile(link, "mine");
  expectUntouched(differentItem());
  EXPECT_EQ(files.textAt(link), "mine");
}

TEST_F(DesktopShortcutTest, LeavesAFolderAlone) {
  files.addDirectory(link);
  expectUntouched(differentItem());
}

TEST_F(DesktopShortcutTest, ReportsWhyTheLinkCouldNotBeMade) {
  files.failures.emplace("createSymbolicLink", Error("system", 13, "You have no permission."));
  EXPECT_EQ(create(), failed("You have no permission."));
  EXPECT_THAT(files.changes, ElementsAre("createSymbolicLink " + std::string(link)));
  EXPECT_FALSE(files.hasItem(link));
}

}  // namespace
}  // namespace quorvin
