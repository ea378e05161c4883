#import <CoreGraphics/CGDisplayControl.h>
#import <CoreGraphics/CoreGraphics.h>
#import <CoreGraphics/CoreGraphicsControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class CGDirectDisplayTest : public StandInTest {
 protected:
  void TearDown() override {
    resetCoreGraphics();
    StandInTest::TearDown();
  }
};

TEST_F(CGDirectDisplayTest, AnswersForTheDisplaysThatTheTestHas) {
  setDisplays({{5, {.isActive = false, .x = 0, .y = 0, .width = 1440, .height = 900}},
               {7, {.x = -1280, .y = 20, .width = 1280, .height = 1024}}});
  const CGRect bounds = CGDisplayBounds(7);
  EXPECT_EQ(bounds.origin.x, -1280);
  EXPECT_EQ(bounds.origin.y, 20);
  EXPECT_EQ(bounds.size.width, 1280);
  EXPECT_EQ(bounds.size.height, 1024);
  EXPECT_EQ(CGDisplayIsActive(7), 1U);
  EXPECT_EQ(CGDisplayIsActive(5), 0U);
  EXPECT_EQ(CGDisplayBounds(5).size.width, 1440);
  EXPECT_THAT(calls(), ElementsAre(Call{"CGDisplayBounds", {"7"}, "", true},
                                   Call{"CGDisplayIsActive", {"7"}, "", true},
                                   Call{"CGDisplayIsActive", {"5"}, "", true},
                                   Call{"CGDisplayBounds", {"5"}, "", true}));
}

TEST_F(CGDirectDisplayTest, HasNoDisplayBeforeTheTestDoes) {
  EXPECT_EQ(CGDisplayIsActive(7), 0U);
  EXPECT_EQ(CGDisplayBounds(7).size.width, 0);
  EXPECT_EQ(CGDisplayBounds(7).size.height, 0);
  setDisplays({{7, {.width = 1, .height = 1}}});
  resetCoreGraphics();
  EXPECT_EQ(CGDisplayIsActive(7), 0U);
}

TEST_F(CGDirectDisplayTest, WantsTheMainThread) {
  onSystemThread([] {
    static_cast<void>(CGDisplayBounds(7));
    CGDisplayIsActive(7);
  });
  settle();
  EXPECT_THAT(takeViolations(), SizeIs(2));
}

}  // namespace
}  // namespace standin
