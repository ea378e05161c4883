#import <Foundation/Foundation.h>
#import <SystemConfiguration/SystemConfiguration.h>
#import <SystemConfiguration/SystemConfigurationControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;

class SystemConfigurationTest : public StandInTest {
 protected:
  void TearDown() override {
    resetSystemConfiguration();
    StandInTest::TearDown();
  }
};

TEST_F(SystemConfigurationTest, NamesTheComputerAsTheTestDoes) {
  @autoreleasepool {
    NSString* first = CFBridgingRelease(SCDynamicStoreCopyComputerName(nullptr, nullptr));
    EXPECT_STREQ(first.UTF8String, "Front desk");
    setComputerName("Büro");
    NSString* second = CFBridgingRelease(SCDynamicStoreCopyComputerName(nullptr, nullptr));
    EXPECT_STREQ(second.UTF8String, "Büro");
  }
  setComputerName(std::nullopt);
  EXPECT_EQ(SCDynamicStoreCopyComputerName(nullptr, nullptr), nullptr);
}

TEST_F(SystemConfigurationTest, WritesDownWhatWasAskedFor) {
  CFStringEncoding encoding = 0;
  setComputerName(std::nullopt);
  (void)SCDynamicStoreCopyComputerName(nullptr, &encoding);
  ASSERT_EQ(calls().size(), 1U);
  EXPECT_THAT(calls()[0].arguments, ElementsAre("NULL", "encoding"));
}

TEST_F(SystemConfigurationTest, CountsANameThatWasNotReleased) {
  const auto before = liveObjects();
  const auto name = SCDynamicStoreCopyComputerName(nullptr, nullptr);
  EXPECT_EQ(liveObjects(), before + 1);
  CFRelease(name);
  EXPECT_EQ(liveObjects(), before);
}

}  // namespace
}  // namespace standin
