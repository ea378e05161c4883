#include "tests/unit/runner/RemoteInputControllerTest.h"

namespace quorvin {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

// ---- construction ----

TEST_F(RemoteInputControllerTest, MakesOneSourceForTheCombinedSessionState) {
  EXPECT_THAT(system.sourcesAsked, ElementsAre(EventSourceState::combinedSession));
  controller.apply(mouse("mouseMove", 0, 0));
  controller.apply(scroll(1, 1));
  controller.apply(key("keyDown", 1));
  controller.releaseAll();
  EXPECT_EQ(system.sourcesAsked.size(), 1U);
  EXPECT_EQ(system.postedSources.size(), 4U);
  EXPECT_THAT(system.postedSources, Each(system.source));
  EXPECT_THAT(system.taps, Each(EventTapLocation::session));
}

TEST_F(RemoteInputControllerTest, MakesItsEventsWithoutASourceWhenThereIsNone) {
  system.makesSources = false;
  auto sourceless = makeController();
  sourceless.apply(mouse("mouseDown", 0, 0));
  sourceless.apply(scroll(1, 1));
  sourceless.apply(key("keyDown", 1));
  sourceless.releaseAll();
  EXPECT_EQ(system.postedSources.size(), 5U);
  EXPECT_THAT(system.postedSources, Each(nullptr));
}

TEST_F(RemoteInputControllerTest, StartsWithNothingHeldAndThePointerAtTheOrigin) {
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
  EXPECT_EQ(controller.pointer(), (Point{0, 0}));
}

TEST_F(RemoteInputControllerTest, PostsWhereItIsTold) {
  std::vector<std::shared_ptr<InputEvent>> posted;
  RemoteInputController elsewhere(
      system, [] { return std::nullopt; }, [&](const auto& event) { posted.push_back(event); });
  elsewhere.apply(key("keyDown", 5));
  ASSERT_EQ(posted.size(), 1U);
  EXPECT_EQ(dynamic_cast<FakeInputEvent&>(*posted[0]).content, keyEvent(5, true));
  elsewhere.releaseAll();
  EXPECT_THAT(system.posted, IsEmpty());
}

// ---- what is no event ----

TEST_F(RemoteInputControllerTest, RefusesWhatNamesNoAction) {
  expectRefused({});
  expectRefused({{"x", 0}, {"y", 0}});
  for (const Value& action : {Value(), Value(5), Value(true), Value(List{"mouseMove"}),
                              Value(Map{{"action", "keyDown"}})}) {
    expectRefused({{"action", action}, {"x", 0}, {"y", 0}, {"keyCode", 0}, {"dx", 0}, {"dy", 0}});
  }
}

TEST_F(RemoteInputControllerTest, RefusesActionsItDoesNotKnow) {
  for (const auto* action : {"", "MouseMove", "mousemove", "mouseDown ", "keyPress", "Scroll",
                             "mouse", "keyup", "release"}) {
    expectRefused({{"action", action}, {"x", 0}, {"y", 0}, {"keyCode", 0}, {"dx", 0}, {"dy", 0}});
  }
}

TEST_F(RemoteInputControllerTest, IgnoresKeysItDoesNotKnow) {
  auto event = key("keyDown", 3);
  event.append("x", "not a number");
  event.append("flags", 0xFFFF);
  EXPECT_THAT(apply(event), ElementsAre(keyEvent(3, true)));
}

TEST_F(RemoteInputControllerTest, LetsTheLastOfARepeatedKeyCount) {
  auto event = key("keyDown", 3);
  event.append("keyCode", 4);
  EXPECT_THAT(apply(event), ElementsAre(keyEvent(4, true)));
}

}  // namespace
}  // namespace quorvin
