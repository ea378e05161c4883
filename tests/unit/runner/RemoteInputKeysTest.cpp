#include <set>

#include "tests/unit/runner/RemoteInputControllerTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using RemoteInputKeysTest = RemoteInputControllerTest;

TEST_F(RemoteInputKeysTest, AcceptsKeyCodesFromTheFirstToTheLast) {
  EXPECT_THAT(apply(key("keyDown", 0)), ElementsAre(keyEvent(0, true)));
  EXPECT_THAT(apply(key("keyUp", 0)), ElementsAre(keyEvent(0, false)));
  EXPECT_THAT(apply(key("keyDown", 127)), ElementsAre(keyEvent(127, true)));
  EXPECT_THAT(apply(key("keyDown", 12.0)), ElementsAre(keyEvent(12, true)));
  EXPECT_THAT(apply(key("keyDown", -0.0)), ElementsAre(keyEvent(0, true)));
  EXPECT_THAT(controller.heldKeys(), ElementsAre(0, 12, 127));
}

TEST_F(RemoteInputKeysTest, RefusesOtherKeyCodes) {
  for (const auto* action : {"keyDown", "keyUp"}) {
    expectRefused({{"action", action}});
    for (const Value& code :
         {Value(128), Value(-1), Value(1.5), Value(127.5), Value(nan), Value(infinity),
          Value(-infinity), Value(1e300), Value(integerMax), Value(integerMin), Value(), Value("0"),
          Value(true), Value(false), Value(List{0}), Value(std::vector<std::int32_t>{0})}) {
      expectRefused(key(action, code));
    }
  }
}

TEST_F(RemoteInputKeysTest, ARepeatedKeyDownIsPostedAgain) {
  controller.apply(key("keyDown", 12));
  EXPECT_THAT(apply(key("keyDown", 12)), ElementsAre(keyEvent(12, true)));
  EXPECT_THAT(controller.heldKeys(), ElementsAre(12));
  controller.apply(key("keyUp", 12));
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
}

TEST_F(RemoteInputKeysTest, AKeyUpWithoutAKeyDownIsPosted) {
  EXPECT_THAT(apply(key("keyUp", 12)), ElementsAre(keyEvent(12, false)));
}

TEST_F(RemoteInputKeysTest, AModifierCarriesItsFlagGoingDownAndNotComingUp) {
  EXPECT_THAT(apply(key("keyDown", 56)), ElementsAre(keyEvent(56, true, eventFlagMaskShift)));
  EXPECT_THAT(apply(key("keyDown", 0)), ElementsAre(keyEvent(0, true, eventFlagMaskShift)));
  EXPECT_THAT(apply(key("keyUp", 56)), ElementsAre(keyEvent(56, false)));
}

TEST_F(RemoteInputKeysTest, EveryModifierKeySetsItsFlag) {
  struct Case {
    std::uint16_t code;
    EventFlags flag;
  };
  for (const auto& [code, flag] :
       {Case{56, 0x20000}, Case{60, 0x20000}, Case{59, 0x40000}, Case{62, 0x40000},
        Case{58, 0x80000}, Case{61, 0x80000}, Case{55, 0x100000}, Case{54, 0x100000}}) {
    EXPECT_THAT(apply(key("keyDown", code)), ElementsAre(keyEvent(code, true, flag)));
    EXPECT_THAT(apply(key("keyUp", code)), ElementsAre(keyEvent(code, false)));
  }
}

TEST_F(RemoteInputKeysTest, NoOtherKeySetsAFlag) {
  const std::set<int> modifierKeys = {54, 55, 56, 58, 59, 60, 61, 62};
  for (int code = 0; code <= 127; ++code) {
    if (modifierKeys.contains(code)) continue;
    const auto number = static_cast<std::uint16_t>(code);
    EXPECT_THAT(apply(key("keyDown", code)), ElementsAre(keyEvent(number, true)));
  }
}

TEST_F(RemoteInputKeysTest, AFlagStaysWhileEitherOfItsKeysIsHeld) {
  controller.apply(key("keyDown", 56));
  controller.apply(key("keyDown", 60));
  EXPECT_THAT(apply(key("keyUp", 56)), ElementsAre(keyEvent(56, false, eventFlagMaskShift)));
  EXPECT_THAT(apply(key("keyUp", 60)), ElementsAre(keyEvent(60, false)));
}

TEST_F(RemoteInputKeysTest, StaysTruthfulWhenTheSystemMakesNoKeyEvent) {
  system.makesEvents = false;
  EXPECT_THAT(apply(key("keyDown", 7)), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), ElementsAre(7));
  EXPECT_THAT(apply(key("keyUp", 7)), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
}

}  // namespace
}  // namespace quorvin
