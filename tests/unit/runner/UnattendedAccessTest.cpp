#include <gtest/gtest.h>

#include <string>

#include "Runner/UnattendedAccess.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {
namespace {

using fakes::FakeMachine;

TEST(UnattendedAccess, IsAuthorizedWithTheArgumentTheSettingAndAName) {
  FakeMachine machine;
  machine.authorizeUnattended("Workshop");
  EXPECT_TRUE(UnattendedAccess::authorizedRun(machine.platform));
}

TEST(UnattendedAccess, IsNotAuthorizedWithoutTheArgument) {
  FakeMachine machine;
  machine.authorizeUnattended("Workshop");
  machine.process.argumentList.pop_back();
  EXPECT_FALSE(UnattendedAccess::authorizedRun(machine.platform));
}

TEST(UnattendedAccess, TakesTheArgumentOnlyWholeAndInItsOwnLetterCase) {
  for (const auto* argument : {"--Unattended", "--unattended=1", "--unattended ", "unattended"}) {
    FakeMachine machine;
    machine.authorizeUnattended("Workshop");
    machine.process.argumentList.back() = argument;
    EXPECT_FALSE(UnattendedAccess::authorizedRun(machine.platform)) << argument;
  }
}

TEST(UnattendedAccess, IsNotAuthorizedWhileTheSettingIsOffOrAbsent) {
  FakeMachine machine;
  machine.authorizeUnattended("Workshop");
  machine.userDefaults.booleans["unattendedAccessEnabled"] = false;
  EXPECT_FALSE(UnattendedAccess::authorizedRun(machine.platform));
  machine.userDefaults.booleans.clear();
  EXPECT_FALSE(UnattendedAccess::authorizedRun(machine.platform));
}

TEST(UnattendedAccess, IsNotAuthorizedUnderANameOfWhiteSpace) {
  FakeMachine machine;
  machine.authorizeUnattended(" \t\n");
  EXPECT_FALSE(UnattendedAccess::authorizedRun(machine.platform));
}

TEST(UnattendedAccess, ReadsNoNameAsEmpty) {
  FakeMachine machine;
  EXPECT_EQ(UnattendedAccess::deviceName(machine.platform), "");
}

TEST(UnattendedAccess, NormalizesTheName) {
  FakeMachine machine;
  machine.userDefaults.strings["unattendedAccessDeviceName"] = "  Front\t\tdesk \n";
  EXPECT_EQ(UnattendedAccess::deviceName(machine.platform), "Front desk");
}

TEST(UnattendedAccess, KeepsEightyCharactersAndTheBlankTheCutLeaves) {
  fakes::FakeText text;
  EXPECT_EQ(UnattendedAccess::normalize(text, std::string(100, 'x')), std::string(80, 'x'));
  const auto cutAtBlank = std::string(79, 'x') + " tail";
  EXPECT_EQ(UnattendedAccess::normalize(text, cutAtBlank), std::string(79, 'x') + " ");
}

}  // namespace
}  // namespace quorvin
