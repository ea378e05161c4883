#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include <chrono>
#include <thread>

#include "tests/linux/input/InputHarness.h"

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
  InputHarness harness;
  const std::vector<std::pair<std::uint16_t, std::uint32_t>> modifiers{
      {55, XKB_KEY_Super_L},   {54, XKB_KEY_Super_R},  {56, XKB_KEY_Shift_L},
      {60, XKB_KEY_Shift_R},   {58, XKB_KEY_Alt_L},    {61, XKB_KEY_Alt_R},
      {59, XKB_KEY_Control_L}, {62, XKB_KEY_Control_R}};
  for (const auto& [code, symbol] : modifiers) {
    harness.keyDown(code);
    EXPECT_THAT(symbols(harness.take(), Kind::keyDown), ElementsAre(symbol)) << code;
    harness.keyUp(code);
    EXPECT_THAT(symbols(harness.take(), Kind::keyUp), testing::SizeIs(1)) << code;
  }
}

TEST(KeyInjection, PressesKeysThatTypeNothing) {
  InputHarness harness;
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
    harness.type(code);
    EXPECT_THAT(harness.takeTyped(), ElementsAre(symbol)) << code;
  }
}

TEST(KeyInjection, SendsNeitherLocksNorFn) {
  InputHarness harness;
  harness.type(mac::capsLock);
  harness.type(mac::function);
  harness.type(52);
  harness.type(300);
  EXPECT_THAT(harness.take(), IsEmpty());
  harness.type(mac::keypadClear);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_Clear));
  EXPECT_EQ(harness.synced().condition().lockedModifiers, 0);
}

TEST(KeyInjection, KeepsShiftForShortcuts) {
  InputHarness harness;
  harness.keyDown(mac::control);
  harness.keyDown(mac::shift);
  (void)harness.take();
  harness.keyDown(mac::c);
  const auto seen = harness.take();
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0].symbol, std::uint32_t{XKB_KEY_C});
  EXPECT_EQ(seen[0].state, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT);
}

TEST(KeyInjection, FindsTheKeyOfAShortcutOnAnyLayout) {
  for (const char* layout : {"us", "de", "fr", "ru"}) {
    InputHarness harness;
    harness.desk.setLayout(layout);
    harness.desk.lock(true, true);
    harness.keyDown(mac::control);
    (void)harness.take();
    for (const auto& [code, symbol] : std::vector<std::pair<std::uint16_t, std::uint32_t>>{
             {mac::c, XKB_KEY_c}, {mac::q, XKB_KEY_q}, {mac::a, XKB_KEY_a}}) {
      harness.type(code);
      const auto seen = harness.take();
      ASSERT_EQ(seen.size(), 2U) << layout;
      EXPECT_EQ(xkb_keysym_to_lower(seen[0].symbol), symbol) << layout;
      EXPECT_EQ(seen[0].state & (XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT), XCB_MOD_MASK_CONTROL);
    }
  }
}

TEST(KeyInjection, LetsRightOptionBeAltGrWhereTheLayoutHasIt) {
  InputHarness harness;
  harness.desk.setLayout("de");
  harness.keyDown(mac::rightOption);
  (void)harness.take();
  harness.type(mac::q);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_at));
}

TEST(KeyInjection, RepeatsAsOftenAsItIsTold) {
  InputHarness harness;
  harness.keyDown(mac::a);
  harness.keyDown(mac::a);
  harness.keyDown(mac::a);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_a, XKB_KEY_a, XKB_KEY_a));
  harness.keyUp(mac::a);
  EXPECT_THAT(harness.synced().keysDown(), IsEmpty());
}

TEST(KeyInjection, DoesNotRepeatModifiers) {
  InputHarness harness;
  harness.keyDown(mac::shift);
  harness.keyDown(mac::shift);
  EXPECT_EQ(harness.take().size(), 1U);
  harness.keyUp(mac::shift);
  EXPECT_EQ(harness.take().size(), 1U);
}

// The server would start after 20 ms and type a letter every 5 ms.
const std::vector<std::string> eagerRepeats{"-ardelay", "20", "-arinterval", "5"};

TEST(KeyInjection, DoesNotLetTheServerRepeat) {
  InputHarness harness(eagerRepeats);
  for (int round = 0; round < 2; ++round) {
    harness.keyDown(mac::a);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_a));
    harness.keyUp(mac::a);
    // The second time, the keyboard of XTEST is the one that was used last.
    harness.events.reset();
    constexpr std::uint8_t returnKey = 36;
    harness.desk.typeWithXTest(returnKey);
    harness.events.emplace(harness.server.display(), harness.journal());
    (void)harness.take();
  }
}

TEST(KeyInjection, ChangesNoSettingWhileNothingIsHeld) {
  InputHarness harness;
  const auto before = harness.synced().condition();
  harness.keyDown(mac::a);
  (void)harness.take();
  EXPECT_NE(harness.synced().condition().repeatControls, before.repeatControls);
  harness.keyUp(mac::a);
  (void)harness.take();
  EXPECT_EQ(harness.synced().condition().repeatControls.back(), before.repeatControls.back());
}

TEST(KeyInjection, LetsTheLocalKeyboardRepeat) {
  InputHarness harness(eagerRepeats);
  harness.type(mac::a);
  (void)harness.take();
  constexpr std::uint8_t localKey = 56;
  harness.desk.press(localKey);
  EXPECT_GE(harness.watcher.takeAtLeast(20).size(), 20U);
  harness.desk.release(localKey);
}

TEST(KeyInjection, ReleasesTheKeyThatItPressed) {
  InputHarness harness;
  harness.keyDown(mac::q);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_q));
  harness.desk.setLayout("fr");
  harness.keyDown(mac::shift);
  harness.keyUp(mac::q);
  harness.keyUp(mac::shift);
  (void)harness.take();
  EXPECT_THAT(harness.synced().keysDown(), IsEmpty());
  harness.type(mac::q);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_q));
}

TEST(KeyInjection, ReleasesNothingThatItDidNotPress) {
  InputHarness harness;
  constexpr std::uint8_t localShift = 50;
  harness.type(mac::enter);
  harness.desk.press(localShift);
  (void)harness.take();
  harness.keyUp(mac::shift);
  harness.keyUp(mac::a);
  EXPECT_THAT(harness.take(), IsEmpty());
  EXPECT_THAT(harness.synced().keysDown(), ElementsAre(localShift));
}

TEST(KeyInjection, LeavesAloneWhatIsHeldAtTheMachine) {
  InputHarness harness;
  constexpr std::uint8_t localShift = 50;
  harness.desk.press(localShift);
  (void)harness.take();
  harness.type(mac::a);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_A));
  EXPECT_EQ(harness.synced().condition().heldModifiers, XCB_MOD_MASK_SHIFT);
  harness.desk.release(localShift);
  EXPECT_EQ(harness.synced().condition().heldModifiers, 0);
}

TEST(KeyInjection, ReleasesWhatIsHeldWhenItEnds) {
  InputHarness harness;
  harness.keyDown(mac::shift);
  harness.keyDown(mac::a);
  EXPECT_FALSE(harness.journal().keys.empty());
  harness.events.reset();
  EXPECT_THAT(harness.synced().keysDown(), IsEmpty());
}

TEST(KeyInjection, PressesNothingThatNobodyWouldUndo) {
  InputHarness harness;
  harness.desk.setLayout("ru");
  harness.journal().isThere = false;
  harness.type(mac::a);
  harness.type(mac::enter);
  EXPECT_THAT(harness.take(), IsEmpty());
}

TEST(KeyInjection, BindsSpareKeycodesAndUnbindsThem) {
  InputHarness harness;
  harness.desk.setLayout("ru");
  const auto before = harness.synced().condition();
  harness.type(mac::a);
  ASSERT_EQ(harness.journal().bound.size(), 1U);
  EXPECT_THAT(harness.synced().symbolsOf(*harness.journal().bound.begin()),
              testing::IsSupersetOf({XKB_KEY_a, XKB_KEY_A}));
  harness.type(mac::a);
  EXPECT_EQ(harness.journal().bound.size(), 1U);
  harness.events.reset();
  EXPECT_EQ(harness.synced().condition(), before);
}

TEST(KeyInjection, StillTypesWhenSpareKeysRunOut) {
  InputHarness harness;
  harness.desk.setLayout("ru");
  for (int round = 0; round < 3; ++round) {
    for (std::uint16_t code = 0; code < 48; ++code) {
      harness.type(code);
      EXPECT_EQ(harness.takeTyped().size(), 1U) << code;
    }
  }
}

TEST(KeyInjection, FollowsTheLayoutInTheMiddleOfASession) {
  InputHarness harness;
  for (const char* layout : {"us", "ru", "de", "ru", "fr", "us"}) {
    harness.desk.setLayout(layout);
    (void)harness.take();
    harness.type(mac::q);
    EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_q)) << layout;
    harness.keyDown(mac::shift);
    harness.type(mac::two);
    EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_at)) << layout;
    harness.keyUp(mac::shift);
  }
}

TEST(KeyInjection, TypesInTheGroupInForce) {
  InputHarness harness;
  harness.desk.setLayout("us,ru");
  harness.desk.lockGroup(1);
  harness.type(mac::q);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_q));
  EXPECT_EQ(harness.synced().condition().group, 1);
}

}  // namespace
}  // namespace quorvin
