#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "launchctl/LoginFiles.h"
#include "tests/linux/launchctl/LaunchctlHarness.h"

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

TEST(SystemdUnit, KeepsTheAgentWithTheGraphicalSession) {
  EXPECT_EQ(systemdUnitText({"a.b", {"/opt/agent", "--unattended"}, true}),
            "[Unit]\n"
            "Description=Login agent a.b\n"
            "PartOf=graphical-session.target\n"
            "After=graphical-session.target\n"
            "StartLimitIntervalSec=3600\n"
            "StartLimitBurst=60\n"
            "\n"
            "[Service]\n"
            "Type=simple\n"
            "ExecStart=\":/opt/agent\" \"--unattended\"\n"
            "Restart=always\n"
            "RestartSec=10\n"
            "RestartPreventExitStatus=2\n"
            "TimeoutStopSec=20\n"
            "\n"
            "[Install]\n"
            "WantedBy=graphical-session.target\n");
}

TEST(SystemdUnit, IsStartedOnceWhenItIsNotToBeKeptAlive) {
  EXPECT_THAT(systemdUnitText({"a.b", {"/opt/agent"}, false}), HasSubstr("\nRestart=no\n"));
}

TEST(SystemdUnit, QuotesEveryArgument) {
  EXPECT_EQ(systemdCommandLine({"/opt/an agent", "", "a b", "\"", "\\", "'", "%h", "$HOME", ";",
                                "tab\tline\nend\x7f", "ä€😀"}),
            R"(":/opt/an agent" "" "a b" "\"" "\\" "'" "%%h" "$HOME" ";" )"
            R"("tab\x09line\x0aend\x7f" "ä€😀")");
}

TEST(SystemdUnit, GoesThroughAShellToAProgramThatSystemdWouldRefuse) {
  EXPECT_EQ(systemdCommandLine({"/opt/\"best\"/agent", "x"}),
            R"(":/bin/sh" "-c" "exec \"$@\"" "sh" "/opt/\"best\"/agent" "x")");
  EXPECT_EQ(systemdCommandLine({"/opt/a\nb"}),
            R"(":/bin/sh" "-c" "exec \"$@\"" "sh" "/opt/a\x0ab")");
}

// It needs no manager.
TEST(SystemdUnit, IsFoundGoodBySystemd) {
  const TemporaryFolder folder;
  const std::vector<std::vector<std::string>> commands{
      {"/bin/echo", "100 %n", "$HOME", "\"quoted\"", "back\\slash", "a\nb", "", ";", "ä€😀"},
      {"/bin/echo", std::string(60000, '\n')},
      {"/bin/../bin/echo"}};
  for (const auto& command : commands) {
    const auto file = folder.write("com.example.agent.service",
                                   systemdUnitText({"com.example.agent", command, true}));
    const auto verified = runProgram({"systemd-analyze", "--user", "verify", file},
                                     {"XDG_RUNTIME_DIR=" + folder.path("").string()});
    EXPECT_EQ(verified.status, 0);
    EXPECT_EQ(verified.errors, "");
  }
}

}  // namespace
}  // namespace quorvin::launchctl
