#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include <chrono>
#include <thread>

#include "tests/linux/input/InputStand.h"

namespace quorvin {
namespace {

using Kind = SeenEvent::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::uint32_t> symbols(const std::vector<SeenEvent>& events, Kind kind) {
  std::vector<std::uint32_t> found;
  for (const auto& event : events) {
    if (event.kind == kind) found.push_back(event.symbol);
  }
  return found;
}

TEST(KeyInjection, TellsModifiersApart) {
  InputStand stand;
  const std::vector<std::pair<std::uint16_t, std::uint32_t>> modifiers{
      {55, XKB_KEY_Super_L},   {54, XKB_KEY_Super_R},  {56, XKB_KEY_Shift_L},
      {60, XKB_KEY_Shift_R},   {58, XKB_KEY_Alt_L},    {61, XKB_KEY_Alt_R},
      {59, XKB_KEY_Control_L}, {62, XKB_KEY_Control_R}};
  for (const auto& [code, symbol] : modifiers) {
    stand.keyDown(code);
    EXPECT_THAT(symbols(stand.take(), Kind::keyDown), ElementsAre(symbol)) << code;
    stand.keyUp(code);
    EXPECT_THAT(symbols(stand.take(), Kind::keyUp), testing::SizeIs(1)) << code;
  }
}

TEST(KeyInjection, PressesKeysThatTypeNothing) {
  InputStand stand;
  const std::vector<std::pair<std::uint16_t, std::uint32_t>> keys{
      {36, XKB_KEY_Return},
      {48, XKB_KEY_Tab},
      {49, XKB_KEY_space},
      {51, XKB_KEY_BackSpace},
      {53, XKB_KEY_Escape},
      {122, XKB_KEY_F1},
      {111, XKB_KEY_F12},
      {123, XKB_KEY_Left},
      {126, XKB_KEY_Up},
      {115, XKB_KEY_Home},
      {116, XKB_KEY_Prior},
      {117, XKB_KEY_Delete},
      {114, XKB_KEY_Insert},
      {110, XKB_KEY_Menu},
      {69, XKB_KEY_KP_Add},
      {76, XKB_KEY_KP_Enter},
      {75, XKB_KEY_KP_Divide},
      {81, XKB_KEY_KP_Equal},
      {72, XKB_KEY_XF86AudioRaiseVolume}};
  for (const auto& [code, symbol] : keys) {
    stand.type(code);
    EXPECT_THAT(stand.takeTyped(), ElementsAre(symbol)) << code;
  }
}

TEST(KeyInjection, SendsNeitherLocksNorFn) {
  InputStand stand;
  stand.type(mac::capsLock);
  stand.type(mac::function);
  stand.type(52);
  stand.type(300);
  EXPECT_THAT(stand.take(), IsEmpty());
  stand.type(mac::keypadClear);
  EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_Clear));
  EXPECT_EQ(stand.settled().condition().lockedModifiers, 0);
}

TEST(KeyInjection, KeepsShiftForShortcuts) {
  InputStand stand;
  stand.keyDown(mac::control);
  stand.keyDown(mac::shift);
  (void)stand.take();
  stand.keyDown(mac::c);
  const auto seen = stand.take();
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0].symbol, std::uint32_t{XKB_KEY_C});
  EXPECT_EQ(seen[0].state, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT);
}

TEST(KeyInjection, FindsTheKeyOfAShortcutOnAnyLayout) {
  for (const char* layout : {"us", "de", "fr", "ru"}) {
    InputStand stand;
    stand.desk.setLayout(layout);
    stand.desk.lock(true, true);
    stand.keyDown(mac::control);
    (void)stand.take();
    for (const auto& [code, symbol] : std::vector<std::pair<std::uint16_t, std::uint32_t>>{
             {mac::c, XKB_KEY_c}, {mac::q, XKB_KEY_q}, {mac::a, XKB_KEY_a}}) {
      stand.type(code);
      const auto seen = stand.take();
      ASSERT_EQ(seen.size(), 2U) << layout;
      EXPECT_EQ(xkb_keysym_to_lower(seen[0].symbol), symbol) << layout;
      EXPECT_EQ(seen[0].state & (XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT), XCB_MOD_MASK_CONTROL);
    }
  }
}

TEST(KeyInjection, LetsRightOptionBeAltGrWhereTheLayoutHasIt) {
  InputStand stand;
  stand.desk.setLayout("de");
  stand.keyDown(mac::rightOption);
  (void)stand.take();
  stand.type(mac::q);
  EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_at));
}

TEST(KeyInjection, RepeatsAsOftenAsItIsTold) {
  InputStand stand;
  stand.keyDown(mac::a);
  stand.keyDown(mac::a);
  stand.keyDown(mac::a);
  EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_a, XKB_KEY_a, XKB_KEY_a));
  stand.keyUp(mac::a);
  EXPECT_THAT(stand.settled().keysDown(), IsEmpty());
}

TEST(KeyInjection, DoesNotRepeatModifiers) {
  InputStand stand;
  stand.keyDown(mac::shift);
  stand.keyDown(mac::shift);
  EXPECT_EQ(stand.take().size(), 1U);
  stand.keyUp(mac::shift);
  EXPECT_EQ(stand.take().size(), 1U);
}

// The server would start after 20 ms and type a letter every 5 ms.
const std::vector<std::string> eagerRepeats{"-ardelay", "20", "-arinterval", "5"};

TEST(KeyInjection, DoesNotLetTheServerRepeat) {
  InputStand stand(eagerRepeats);
  for (int round = 0; round < 2; ++round) {
    stand.keyDown(mac::a);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_a));
    stand.keyUp(mac::a);
    // The second time, the keyboard of XTEST is the one that was used last.
    stand.events.reset();
    constexpr std::uint8_t returnKey = 36;
    stand.desk.typeWithXTest(returnKey);
    stand.events.emplace(stand.server.display(), stand.journal());
    (void)stand.take();
  }
}

TEST(KeyInjection, ChangesNoSettingWhileNothingIsHeld) {
  InputStand stand;
  const auto before = stand.settled().condition();
  stand.keyDown(mac::a);
  (void)stand.take();
  EXPECT_NE(stand.settled().condition().repeatControls, before.repeatControls);
  stand.keyUp(mac::a);
  (void)stand.take();
  EXPECT_EQ(stand.settled().condition().repeatControls.back(), before.repeatControls.back());
}

TEST(KeyInjection, LetsTheLocalKeyboardRepeat) {
  InputStand stand(eagerRepeats);
  stand.type(mac::a);
  (void)stand.take();
  constexpr std::uint8_t localKey = 56;
  stand.desk.press(localKey);
  EXPECT_GE(stand.watcher.takeAtLeast(20).size(), 20U);
  stand.desk.release(localKey);
}

TEST(KeyInjection, ReleasesTheKeyThatItPressed) {
  InputStand stand;
  stand.keyDown(mac::q);
  EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_q));
  stand.desk.setLayout("fr");
  stand.keyDown(mac::shift);
  stand.keyUp(mac::q);
  stand.keyUp(mac::shift);
  (void)stand.take();
  EXPECT_THAT(stand.settled().keysDown(), IsEmpty());
  stand.type(mac::q);
  EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_q));
}

TEST(KeyInjection, ReleasesNothingThatItDidNotPress) {
  InputStand stand;
  constexpr std::uint8_t localShift = 50;
  stand.type(mac::enter);
  stand.desk.press(localShift);
  (void)stand.take();
  stand.keyUp(mac::shift);
  stand.keyUp(mac::a);
  EXPECT_THAT(stand.take(), IsEmpty());
  EXPECT_THAT(stand.settled().keysDown(), ElementsAre(localShift));
}

TEST(KeyInjection, LeavesAloneWhatIsHeldAtTheMachine) {
  InputStand stand;
  constexpr std::uint8_t localShift = 50;
  stand.desk.press(localShift);
  (void)stand.take();
  stand.type(mac::a);
  EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_A));
  EXPECT_EQ(stand.settled().condition().heldModifiers, XCB_MOD_MASK_SHIFT);
  stand.desk.release(localShift);
  EXPECT_EQ(stand.settled().condition().heldModifiers, 0);
}

TEST(KeyInjection, ReleasesWhatIsHeldWhenItEnds) {
  InputStand stand;
  stand.keyDown(mac::shift);
  stand.keyDown(mac::a);
  EXPECT_FALSE(stand.journal().keys.empty());
  stand.events.reset();
  EXPECT_THAT(stand.settled().keysDown(), IsEmpty());
}

TEST(KeyInjection, PressesNothingThatNobodyWouldUndo) {
  InputStand stand;
  stand.desk.setLayout("ru");
  stand.journal().isThere = false;
  stand.type(mac::a);
  stand.type(mac::enter);
  EXPECT_THAT(stand.take(), IsEmpty());
}

TEST(KeyInjection, LendsSpareKeysAndTakesThemBack) {
  InputStand stand;
  stand.desk.setLayout("ru");
  const auto before = stand.settled().condition();
  stand.type(mac::a);
  ASSERT_EQ(stand.journal().bound.size(), 1U);
  EXPECT_THAT(stand.settled().symbolsOf(*stand.journal().bound.begin()),
              testing::IsSupersetOf({XKB_KEY_a, XKB_KEY_A}));
  stand.type(mac::a);
  EXPECT_EQ(stand.journal().bound.size(), 1U);
  stand.events.reset();
  EXPECT_EQ(stand.settled().condition(), before);
}

TEST(KeyInjection, StillTypesWhenSpareKeysRunOut) {
  InputStand stand;
  stand.desk.setLayout("ru");
  for (int round = 0; round < 3; ++round) {
    for (std::uint16_t code = 0; code < 48; ++code) {
      stand.type(code);
      EXPECT_EQ(stand.takeTyped().size(), 1U) << code;
    }
  }
}

TEST(KeyInjection, FollowsTheLayoutInTheMiddleOfASession) {
  InputStand stand;
  for (const char* layout : {"us", "ru", "de", "ru", "fr", "us"}) {
    stand.desk.setLayout(layout);
    (void)stand.take();
    stand.type(mac::q);
    EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_q)) << layout;
    stand.keyDown(mac::shift);
    stand.type(mac::two);
    EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_at)) << layout;
    stand.keyUp(mac::shift);
  }
}

TEST(KeyInjection, TypesInTheGroupInForce) {
  InputStand stand;
  stand.desk.setLayout("us,ru");
  stand.desk.lockGroup(1);
  stand.type(mac::q);
  EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_q));
  EXPECT_EQ(stand.settled().condition().group, 1);
}

}  // namespace
}  // namespace quorvin
