#import <ApplicationServices/ApplicationServices.h>
#import <ApplicationServices/ApplicationServicesControl.h>
#import <Foundation/Foundation.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ApplicationServicesTest : public StandInTest {
 protected:
  void TearDown() override {
    resetApplicationServices();
    StandInTest::TearDown();
  }
  // With the value for whether to ask the user.
  static Boolean ask(id value) {
    @autoreleasepool {
      NSDictionary* options = @{(__bridge id)kAXTrustedCheckOptionPrompt : value};
      return AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options);
    }
  }
};

TEST_F(ApplicationServicesTest, TrustsTheProcessAsTheTestSays) {
  EXPECT_TRUE(AXIsProcessTrusted());
  EXPECT_TRUE(AXIsProcessTrustedWithOptions(nullptr));
  setProcessTrusted(false);
  EXPECT_FALSE(AXIsProcessTrusted());
  EXPECT_FALSE(AXIsProcessTrustedWithOptions(nullptr));
}

TEST_F(ApplicationServicesTest, WritesDownTheOptions) {
  EXPECT_TRUE(ask(@YES));
  EXPECT_TRUE(ask(@NO));
  ASSERT_EQ(calls().size(), 2U);
  EXPECT_THAT(calls()[0].arguments, ElementsAre("AXTrustedCheckOptionPrompt = true"));
  EXPECT_THAT(calls()[1].arguments, ElementsAre("AXTrustedCheckOptionPrompt = false"));
}

TEST_F(ApplicationServicesTest, WantsABooleanToSayWhetherToAsk) {
  EXPECT_TRUE(ask(@1));
  EXPECT_TRUE(ask(@"YES"));
  EXPECT_THAT(takeViolations(),
              ElementsAre(HasSubstr("is not a CFBoolean"), HasSubstr("is not a CFBoolean")));
}

}  // namespace
}  // namespace standin
