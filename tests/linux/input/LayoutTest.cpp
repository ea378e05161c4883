#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include <array>
#include <string>

#include "platform/linux/input/KeyMeaning.h"
#include "tests/linux/input/InputStand.h"

namespace quorvin {
namespace {

std::string nameOf(std::uint32_t symbol) {
  std::array<char, 64> name{};
  xkb_keysym_get_name(symbol, name.data(), name.size());
  return name.data();
}

class LayoutTest : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override { stand.desk.setLayout(GetParam()); }

  // Types every key of the table that stands for a character, and compares what arrives.
  void typeEverything(bool isShifted) {
    for (const auto& row : keyTable()) {
      const auto meaning = keyMeaning(row.virtualKey);
      if (!meaning || !meaning->types) continue;
      stand.type(row.virtualKey);
      const auto expected = isShifted ? meaning->types->shifted : meaning->types->plain;
      const auto typed = stand.takeTyped();
      ASSERT_EQ(typed.size(), 1U) << row.virtualKey;
      EXPECT_EQ(nameOf(typed.front()), nameOf(expected)) << row.virtualKey;
    }
  }

  void typeEverythingInEveryCase() {
    typeEverything(false);
    stand.keyDown(mac::shift);
    typeEverything(true);
    stand.keyUp(mac::shift);
  }

  InputStand stand;
};

TEST_P(LayoutTest, TypesEveryCharacterWhateverIsLocked) {
  for (const bool capsLock : {false, true}) {
    for (const bool numLock : {false, true}) {
      SCOPED_TRACE(std::string(capsLock ? "CapsLock " : "") + (numLock ? "NumLock" : ""));
      stand.desk.lock(capsLock, numLock);
      typeEverythingInEveryCase();
    }
  }
}

TEST_P(LayoutTest, LeavesTheKeyboardAsItWasFound) {
  for (const bool isLocked : {false, true}) {
    stand.desk.lock(isLocked, isLocked);
    const auto before = stand.settled().condition();
    typeEverythingInEveryCase();
    stand.events.reset();
    (void)stand.take();
    EXPECT_EQ(stand.settled().condition(), before);
    EXPECT_TRUE(stand.journal().bound.empty());
    stand.events.emplace(stand.server.display(), stand.journal());
  }
}

TEST_P(LayoutTest, ChangesNothingThatIsLockedOrHeldWhileItTypes) {
  stand.desk.lock(true, true);
  const auto before = stand.settled().condition();
  typeEverythingInEveryCase();
  const auto after = stand.settled().condition();
  EXPECT_EQ(after.heldModifiers, before.heldModifiers);
  EXPECT_EQ(after.lockedModifiers, before.lockedModifiers);
  EXPECT_EQ(after.lights, before.lights);
  EXPECT_EQ(after.group, before.group);
  EXPECT_EQ(after.keysDown, before.keysDown);
}

std::string nameOfLayout(const testing::TestParamInfo<const char*>& layout) {
  return layout.param;
}

INSTANTIATE_TEST_SUITE_P(Xkb, LayoutTest, testing::Values("us", "de", "fr", "ru"), nameOfLayout);

}  // namespace
}  // namespace quorvin
