#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "platform/linux/input/PointerInjector.h"
#include "tests/linux/input/InputHarness.h"

namespace quorvin {
namespace {

using Kind = SeenEvent::Kind;

struct Brief {
  Kind kind;
  int detail;
  Point position;

  friend bool operator==(const Brief&, const Brief&) = default;
};

std::vector<Brief> brief(const std::vector<SeenEvent>& events) {
  std::vector<Brief> found;
  found.reserve(events.size());
  for (const auto& event : events) found.push_back({event.kind, event.detail, event.position});
  return found;
}

TEST(PointerInjection, MovesToTheNearestPixel) {
  InputHarness harness;
  harness.mouse(MouseEventType::mouseMoved, {10.4, 20.6});
  EXPECT_EQ(brief(harness.take()), (std::vector<Brief>{{Kind::motion, 0, {10, 21}}}));
  EXPECT_EQ(harness.watcher.pointer(), (Point{10, 21}));
}

TEST(PointerInjection, NeverLeavesTheScreen) {
  InputHarness harness;
  harness.mouse(MouseEventType::mouseMoved, {1e9, 1e300});
  (void)harness.take();
  EXPECT_EQ(harness.watcher.pointer(), (Point{639, 479}));
  harness.mouse(MouseEventType::mouseMoved, {-1e9, -70'000});
  (void)harness.take();
  EXPECT_EQ(harness.watcher.pointer(), (Point{0, 0}));
}

TEST(PointerInjection, MovesBeforeItPresses) {
  InputHarness harness;
  harness.mouse(MouseEventType::leftMouseDown, {30, 40});
  harness.mouse(MouseEventType::leftMouseDragged, {50, 60});
  harness.mouse(MouseEventType::leftMouseUp, {70, 80});
  EXPECT_EQ(brief(harness.take()), (std::vector<Brief>{{Kind::motion, 0, {30, 40}},
                                                       {Kind::buttonDown, 1, {30, 40}},
                                                       {Kind::motion, 0, {50, 60}},
                                                       {Kind::motion, 0, {70, 80}},
                                                       {Kind::buttonUp, 1, {70, 80}}}));
}

TEST(PointerInjection, PressesTheButtonsThatXProgramsMean) {
  InputHarness harness;
  harness.mouse(MouseEventType::rightMouseDown, {5, 5}, MouseButton::right);
  harness.mouse(MouseEventType::rightMouseUp, {5, 5}, MouseButton::right);
  harness.mouse(MouseEventType::otherMouseDown, {5, 5}, MouseButton::center);
  harness.mouse(MouseEventType::otherMouseUp, {5, 5}, MouseButton::center);
  std::vector<int> buttons;
  for (const auto& event : harness.take()) {
    if (event.kind == Kind::buttonDown || event.kind == Kind::buttonUp) {
      buttons.push_back(event.detail);
    }
  }
  EXPECT_EQ(buttons, (std::vector<int>{3, 3, 2, 2}));
}

TEST(PointerInjection, TellsTheJournalWhatItPresses) {
  InputHarness harness;
  harness.mouse(MouseEventType::rightMouseDown, {5, 5}, MouseButton::right);
  EXPECT_THAT(harness.journal().buttons, testing::ElementsAre(3));
}

TEST(PointerInjection, PressesNothingThatNobodyWouldUndo) {
  InputHarness harness;
  harness.journal().isThere = false;
  harness.mouse(MouseEventType::leftMouseDown, {5, 6});
  EXPECT_EQ(brief(harness.take()), (std::vector<Brief>{{Kind::motion, 0, {5, 6}}}));
}

TEST(PointerInjection, ReleasesNothingThatItDidNotPress) {
  InputHarness harness;
  harness.mouse(MouseEventType::leftMouseUp, {5, 6});
  EXPECT_EQ(brief(harness.take()), (std::vector<Brief>{{Kind::motion, 0, {5, 6}}}));
}

TEST(PointerInjection, ReleasesWhatIsHeldWhenItEnds) {
  InputHarness harness;
  harness.mouse(MouseEventType::leftMouseDown, {5, 6});
  (void)harness.take();
  harness.events.reset();
  EXPECT_EQ(brief(harness.take()), (std::vector<Brief>{{Kind::buttonUp, 1, {5, 6}}}));
}

TEST(PointerInjection, MakesNoEventWithoutAPlace) {
  InputHarness harness;
  EXPECT_EQ(harness.events->createMouseEvent(nullptr, MouseEventType::mouseMoved,
                                             {std::numeric_limits<double>::quiet_NaN(), 1},
                                             MouseButton::left),
            nullptr);
}

TEST(PointerInjection, ScrollsInWholeClicksAndCarriesTheRest) {
  InputHarness harness;
  harness.scroll(60, 0);
  EXPECT_TRUE(harness.take().empty());
  harness.scroll(60, -250);
  harness.scroll(-120, 350);
  std::vector<int> turned;
  for (const auto& event : harness.take()) {
    if (event.kind == Kind::buttonDown) turned.push_back(event.detail);
  }
  // 120 up; 250 to the right; 100 down; 300 to the left.
  EXPECT_EQ(turned, (std::vector<int>{4, 7, 7, 5, 6, 6, 6}));
}

TEST(WheelClicks, LoseAndAddNothing) {
  std::mt19937 random(4711);
  std::uniform_int_distribution<std::int32_t> distance(-10'000, 10'000);
  WheelClicks clicks;
  std::int64_t in = 0;
  std::int64_t out = 0;
  for (int event = 0; event < 200'000; ++event) {
    const std::int32_t pixels = distance(random) / (event % 3 == 0 ? 1 : 200);
    in += pixels;
    out += std::int64_t{clicks.add(pixels)} * pixelsPerWheelClick;
    ASSERT_LT(std::abs(in - out), pixelsPerWheelClick);
  }
}

TEST(WheelClicks, AreFewForAnyDistance) {
  WheelClicks clicks;
  EXPECT_EQ(clicks.add(2'147'483'647), 100);
  EXPECT_EQ(clicks.add(-2'147'483'647 - 1), -100);
}

TEST(WheelClicks, GoBackWithTheSameDistance) {
  WheelClicks clicks;
  EXPECT_EQ(clicks.add(99), 0);
  EXPECT_EQ(clicks.add(1), 1);
  EXPECT_EQ(clicks.add(-99), 0);
  EXPECT_EQ(clicks.add(-1), -1);
}

}  // namespace
}  // namespace quorvin
