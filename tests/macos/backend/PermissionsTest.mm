#import "platform/macos/Permissions.h"

#include <gmock/gmock.h>

#include "tests/macos/backend/SystemTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;

class PermissionsTest : public SystemTest {
 protected:
  MacPermissions permissions;
};

TEST_F(PermissionsTest, AsksWhetherTheScreenMayBeRecorded) {
  EXPECT_FALSE(permissions.preflightScreenCaptureAccess());
  standin::setScreenCapturePreflight(true);
  EXPECT_TRUE(permissions.preflightScreenCaptureAccess());
  EXPECT_THAT(standin::callNames(),
              ElementsAre("CGPreflightScreenCaptureAccess", "CGPreflightScreenCaptureAccess"));
}

TEST_F(PermissionsTest, AsksForTheScreenToBeRecorded) {
  EXPECT_FALSE(permissions.requestScreenCaptureAccess());
  standin::setScreenCaptureRequest(true);
  EXPECT_TRUE(permissions.requestScreenCaptureAccess());
  EXPECT_THAT(standin::callNames(),
              ElementsAre("CGRequestScreenCaptureAccess", "CGRequestScreenCaptureAccess"));
}

TEST_F(PermissionsTest, AsksWhetherTheProcessIsTrusted) {
  EXPECT_TRUE(permissions.isProcessTrusted());
  standin::setProcessTrusted(false);
  EXPECT_FALSE(permissions.isProcessTrusted());
  EXPECT_THAT(standin::callNames(), ElementsAre("AXIsProcessTrusted", "AXIsProcessTrusted"));
}

TEST_F(PermissionsTest, SaysWhetherTheUserIsToBeAskedForTrust) {
  @autoreleasepool {
    EXPECT_TRUE(permissions.isProcessTrustedWithOptions(true));
    standin::setProcessTrusted(false);
    EXPECT_FALSE(permissions.isProcessTrustedWithOptions(false));
  }
  const auto calls = standin::callsOf("AXIsProcessTrustedWithOptions");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_THAT(calls[0].arguments, ElementsAre("AXTrustedCheckOptionPrompt = true"));
  EXPECT_THAT(calls[1].arguments, ElementsAre("AXTrustedCheckOptionPrompt = false"));
}

TEST_F(PermissionsTest, CopiesTheNameOfTheComputer) {
  standin::setComputerName("Empfang – Büro");
  @autoreleasepool {
    EXPECT_EQ(permissions.copyComputerName(), "Empfang – Büro");
  }
  const auto calls = standin::callsOf("SCDynamicStoreCopyComputerName");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_THAT(calls[0].arguments, ElementsAre("NULL", "NULL"));
}

TEST_F(PermissionsTest, HasNoNameForAComputerWithoutOne) {
  standin::setComputerName(std::nullopt);
  EXPECT_EQ(permissions.copyComputerName(), std::nullopt);
}

TEST_F(PermissionsTest, TellsAnEmptyNameFromNone) {
  standin::setComputerName("");
  @autoreleasepool {
    EXPECT_EQ(permissions.copyComputerName(), "");
  }
}

}  // namespace
}  // namespace quorvin
