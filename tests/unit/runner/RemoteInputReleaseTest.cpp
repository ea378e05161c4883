#include "tests/unit/runner/RemoteInputControllerTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using RemoteInputReleaseTest = RemoteInputControllerTest;

TEST_F(RemoteInputReleaseTest, ReleasesNothingWhenNothingIsHeld) {
  EXPECT_THAT(releaseAll(), IsEmpty());
  EXPECT_EQ(system.eventsAsked, 0U);
}

TEST_F(RemoteInputReleaseTest, ReleasesButtonsWithTheModifiersStillHeldAndThenTheKeys) {
  controller.apply(button("mouseDown", "right"));
  controller.apply(button("mouseDown", "left"));
  controller.apply(key("keyDown", 56));
  controller.apply(mouse("mouseMove", 0.5, 0.5));
  const Point last{959.5, 539.5};
  EXPECT_THAT(releaseAll(),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, last, MouseButton::left,
                                     std::nullopt, eventFlagMaskShift),
                          mouseEvent(MouseEventType::rightMouseUp, last, MouseButton::right,
                                     std::nullopt, eventFlagMaskShift),
                          keyEvent(56, false)));
  EXPECT_EQ(controller.pointer(), last);
}

TEST_F(RemoteInputReleaseTest, ReleasesButtonsInTheOrderOfTheirNames) {
  for (const auto* name : {"right", "middle", "left"}) controller.apply(button("mouseDown", name));
  EXPECT_THAT(releaseAll(),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, {}),
                          mouseEvent(MouseEventType::otherMouseUp, {}, MouseButton::center, {}),
                          mouseEvent(MouseEventType::rightMouseUp, {}, MouseButton::right, {})));
}

TEST_F(RemoteInputReleaseTest, ReleasesKeysInTheOrderOfTheirCodes) {
  for (const int code : {55, 0, 12}) controller.apply(key("keyDown", code));
  EXPECT_THAT(releaseAll(),
              ElementsAre(keyEvent(0, false, eventFlagMaskCommand),
                          keyEvent(12, false, eventFlagMaskCommand), keyEvent(55, false)));
}

TEST_F(RemoteInputReleaseTest, AReleasedModifierNoLongerCountsForTheNext) {
  controller.apply(key("keyDown", 55));
  controller.apply(key("keyDown", 56));
  EXPECT_THAT(releaseAll(),
              ElementsAre(keyEvent(55, false, eventFlagMaskShift), keyEvent(56, false)));
}

TEST_F(RemoteInputReleaseTest, ReleasesOnceAndCanBeUsedAgain) {
  controller.apply(clicks("mouseDown", 3));
  controller.apply(key("keyDown", 12));
  controller.releaseAll();
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
  EXPECT_THAT(releaseAll(), IsEmpty());
  EXPECT_THAT(apply(mouse("mouseMove", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::mouseMoved, {}, MouseButton::left, 1)));
}

TEST_F(RemoteInputReleaseTest, ForgetsWhatItCannotRelease) {
  controller.apply(mouse("mouseDown", 0, 0));
  controller.apply(key("keyDown", 12));
  system.makesEvents = false;
  EXPECT_THAT(releaseAll(), IsEmpty());
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
}

TEST_F(RemoteInputReleaseTest, ReleasesWithoutAskingForTheDisplay) {
  controller.apply(mouse("mouseDown", 1, 1));
  bounds.reset();
  boundsAsked = 0;
  EXPECT_THAT(releaseAll(), ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {1919, 1079},
                                                   MouseButton::left, {})));
  EXPECT_EQ(boundsAsked, 0);
}

}  // namespace
}  // namespace quorvin
