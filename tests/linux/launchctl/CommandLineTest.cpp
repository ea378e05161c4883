#include <gtest/gtest.h>

#include <optional>

#include "launchctl/CommandLine.h"
#include "launchctl/LaunchctlError.h"
#include "tests/linux/launchctl/LaunchctlHarness.h"

namespace quorvin::launchctl {
namespace {

constexpr unsigned int user = 1000;

std::optional<ExitStatus> refusalOf(const std::vector<std::string>& arguments) {
  try {
    static_cast<void>(parseCommandLine(arguments, user));
    return std::nullopt;
  } catch (const LaunchctlError& failure) {
    return failure.status();
  }
}

TEST(CommandLine, TakesAFileForTheLoginOfThisUser) {
  const auto request = parseCommandLine({"bootstrap", "gui/1000", "some file.plist"}, user);
  EXPECT_EQ(request.command, Command::bootstrap);
  EXPECT_EQ(request.file, "some file.plist");
  EXPECT_EQ(parseCommandLine({"bootout", "gui/1000", "a"}, user).command, Command::bootout);
}

TEST(CommandLine, KnowsHelpAndVersion) {
  EXPECT_EQ(parseCommandLine({"--help"}, user).command, Command::help);
  EXPECT_EQ(parseCommandLine({"--version"}, user).command, Command::version);
}

TEST(CommandLine, PrintsHelpAndVersion) {
  const auto help = runProgram({QUORVIN_LAUNCHCTL, "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.output, usageText());
  const auto version = runProgram({QUORVIN_LAUNCHCTL, "--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_TRUE(version.output.starts_with("quorvin-launchctl ")) << version.output;
}

TEST(CommandLine, RefusesWhatItDoesNotUnderstand) {
  const std::vector<std::vector<std::string>> wrong{
      {},
      {""},
      {"load", "a.plist"},
      {"bootstrap"},
      {"bootstrap", "gui/1000"},
      {"bootstrap", "gui/1000", ""},
      {"bootstrap", "gui/1000", "a", "b"},
      {"bootout", "gui/1000/a.b", "a"},
      {"bootout", "gui/", "a"},
      {"bootout", "gui/-1", "a"},
      {"bootout", "gui/0x3e8", "a"},
      {"bootout", "", "a"},
      {"--help", "me"},
      {"run", "a.b", "/bin/echo"},
  };
  for (const auto& arguments : wrong) {
    EXPECT_EQ(refusalOf(arguments), ExitStatus::usage) << testing::PrintToString(arguments);
  }
}

TEST(CommandLine, TellsAnotherLoginFromAnotherKindOfDomain) {
  EXPECT_EQ(refusalOf({"bootstrap", "gui/1001", "a"}), ExitStatus::noSuchDomain);
  EXPECT_EQ(refusalOf({"bootstrap", "gui/01000", "a"}), ExitStatus::noSuchDomain);
  EXPECT_EQ(refusalOf({"bootstrap", "gui/99999999999999999999", "a"}), ExitStatus::noSuchDomain);
  EXPECT_EQ(refusalOf({"bootstrap", "user/1000", "a"}), ExitStatus::unsupportedDomain);
  EXPECT_EQ(refusalOf({"bootout", "system", "a"}), ExitStatus::unsupportedDomain);
}

}  // namespace
}  // namespace quorvin::launchctl
