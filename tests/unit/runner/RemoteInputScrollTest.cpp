#include "tests/unit/runner/RemoteInputControllerTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using RemoteInputScrollTest = RemoteInputControllerTest;

TEST_F(RemoteInputScrollTest, ScrollsTheVerticalWheelByDyAndTheHorizontalByDx) {
  EXPECT_THAT(apply(scroll(-3, 120)), ElementsAre(scrollEvent(120, -3)));
  EXPECT_THAT(apply(scroll(0, 0)), ElementsAre(scrollEvent(0, 0)));
}

TEST_F(RemoteInputScrollTest, AcceptsDeltasUpToTheLimit) {
  EXPECT_THAT(apply(scroll(10000, -10000)), ElementsAre(scrollEvent(-10000, 10000)));
  EXPECT_THAT(apply(scroll(-10000.0, 10000.0)), ElementsAre(scrollEvent(10000, -10000)));
  for (const Value& delta :
       {Value(10000.5), Value(-10000.5), Value(10001), Value(-10001), Value(nan), Value(infinity),
        Value(-infinity), Value(integerMax), Value(integerMin)}) {
    expectRefused(scroll(delta, 0));
    expectRefused(scroll(0, delta));
  }
}

TEST_F(RemoteInputScrollTest, RoundsDeltasHalvesAwayFromZero) {
  EXPECT_THAT(apply(scroll(2.5, -2.5)), ElementsAre(scrollEvent(-3, 3)));
  EXPECT_THAT(apply(scroll(3.5, -3.5)), ElementsAre(scrollEvent(-4, 4)));
  EXPECT_THAT(apply(scroll(2.4999, -0.4999)), ElementsAre(scrollEvent(0, 2)));
  EXPECT_THAT(apply(scroll(0.49999999999999994, 0)), ElementsAre(scrollEvent(0, 0)));
}

TEST_F(RemoteInputScrollTest, RefusesDeltasThatAreNoNumbers) {
  expectRefused({{"action", "scroll"}});
  expectRefused({{"action", "scroll"}, {"dx", 1}});
  expectRefused({{"action", "scroll"}, {"dy", 1}});
  for (const Value& delta : {Value(), Value("1"), Value(true), Value(false), Value(List{1})}) {
    expectRefused(scroll(delta, 0));
    expectRefused(scroll(0, delta));
  }
}

TEST_F(RemoteInputScrollTest, ScrollingLeavesEverythingElseAlone) {
  controller.apply(clicks("mouseDown", 2));
  controller.apply(mouse("mouseMove", 1, 1));
  controller.apply(key("keyDown", 59));
  EXPECT_THAT(apply(scroll(1, 2)), ElementsAre(scrollEvent(2, 1, eventFlagMaskControl)));
  EXPECT_EQ(controller.pointer(), (Point{1919, 1079}));
  EXPECT_THAT(controller.heldButtons(), ElementsAre("left"));
  EXPECT_EQ(controller.clickCounts().at("left"), 2);
  system.makesEvents = false;
  EXPECT_THAT(apply(scroll(1, 2)), IsEmpty());
}

}  // namespace
}  // namespace quorvin
