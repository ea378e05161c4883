#include "tests/contract/PermissionsContract.h"

namespace quorvin::contract {

void PermissionsContract::expectPermissions(bool screenRecording, bool accessibility) {
  // Asking changes nothing by itself: what the user will say comes later.
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(permissions().preflightScreenCaptureAccess(), screenRecording);
    EXPECT_EQ(permissions().isProcessTrusted(), accessibility);
    EXPECT_EQ(permissions().isProcessTrustedWithOptions(false), accessibility);
    EXPECT_EQ(permissions().requestScreenCaptureAccess(), screenRecording);
    EXPECT_EQ(permissions().isProcessTrustedWithOptions(true), accessibility);
  }
}

TEST_P(PermissionsContract, AreGrantedWhenTheSystemGrantsBoth) {
  world->decide(true, true);
  expectPermissions(true, true);
}

TEST_P(PermissionsContract, AreDeniedWhenTheSystemDeniesBoth) {
  world->decide(false, false);
  expectPermissions(false, false);
}

TEST_P(PermissionsContract, AllowWatchingWithoutControl) {
  world->decide(true, false);
  expectPermissions(true, false);
}

TEST_P(PermissionsContract, HaveTheNameTheUserGaveTheComputer) {
  world->decide(true, true);
  for (const std::string name : {"Front desk", "Büro \U0001F600", "Anna's \"Mac\""}) {
    world->nameComputer(name);
    EXPECT_EQ(permissions().copyComputerName(), name);
  }
}

TEST_P(PermissionsContract, GiveTheComputersNameOnAnyThread) {
  world->decide(true, true);
  world->nameComputer("Front desk");
  std::optional<std::string> name;
  world->runElsewhere([&] { name = permissions().copyComputerName(); });
  EXPECT_EQ(name, "Front desk");
}

TEST_P(SeparatePermissionsContract, AllowControlWithoutWatching) {
  world->decide(false, true);
  expectPermissions(false, true);
}

TEST_P(NamelessComputerContract, HasNoName) {
  world->decide(true, true);
  world->nameComputer(std::nullopt);
  EXPECT_EQ(permissions().copyComputerName(), std::nullopt);
}

}  // namespace quorvin::contract
