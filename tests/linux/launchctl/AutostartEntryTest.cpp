#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "launchctl/AutostartEntry.h"
#include "tests/linux/launchctl/LaunchctlStand.h"

namespace quorvin::launchctl {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string textFor(const std::vector<std::string>& command) {
  return autostartEntryText("a.b", command, AutostartReader::every);
}

TEST(AutostartEntry, HasTheCommandRunAtLogin) {
  EXPECT_EQ(textFor({"/opt/agent", "--unattended"}),
            "[Desktop Entry]\n"
            "Type=Application\n"
            "Name=a.b\n"
            "Exec=\"/opt/agent\" \"--unattended\"\n"
            "Terminal=false\n"
            "NoDisplay=true\n");
}

TEST(AutostartEntry, IsLeftToDesktopsThatSystemdDoesNotLogIn) {
  EXPECT_THAT(autostartEntryText("a.b", {"/opt/agent"}, AutostartReader::desktopsWithoutSystemd),
              HasSubstr("\nX-systemd-skip=true\n"));
  EXPECT_THAT(textFor({"/opt/agent"}), Not(HasSubstr("X-systemd-skip")));
}

TEST(AutostartEntry, CarriesEveryArgumentAsItIs) {
  const std::vector<std::string> command{
      "/opt/an agent", "",     "a b", "\"", "\\", "\\\\", "'",   "`", "$HOME", "%f", "%%",
      "100%",          "a\nb", "\t",  "\r", "~",  "a;b",  "ä€😀", " ", "\\n",   "#"};
  EXPECT_EQ(commandOfEntry(textFor(command)), command);
}

TEST(AutostartEntry, GoesThroughAShellToAProgramWithAnEqualsSign) {
  EXPECT_EQ(commandOfEntry(textFor({"/opt/a=b", "c=d"})),
            (std::vector<std::string>{"/bin/sh", "-c", "exec \"$@\"", "sh", "/opt/a=b", "c=d"}));
}

}  // namespace
}  // namespace quorvin::launchctl
