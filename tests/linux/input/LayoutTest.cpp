#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include <array>
#include <string>

#include "platform/linux/input/KeyMeaning.h"
#include "tests/linux/input/InputHarness.h"

namespace quorvin {
namespace {

std::string nameOf(std::uint32_t symbol) {
  std::array<char, 64> name{};
  xkb_keysym_get_name(symbol, name.data(), name.size());
  return name.data();
}

class LayoutTest : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override { harness.desk.setLayout(GetParam()); }

  // Types every key of the table that stands for a character, and compares what arrives.
  void typeEverything(bool isShifted) {
    for (const auto& row : keyTable()) {
      const auto meaning = keyMeaning(row.virtualKey);
      if (!meaning || !meaning->types) continue;
      harness.type(row.virtualKey);
      const auto expected = isShifted ? meaning->types->shifted : meaning->types->plain;
      const auto typed = harness.takeTyped();
      ASSERT_EQ(typed.size(), 1U) << row.virtualKey;
      EXPECT_EQ(nameOf(typed.front()), nameOf(expected)) << row.virtualKey;
    }
  }

  void typeEverythingInEveryCase() {
    typeEverything(false);
    harness.keyDown(mac::shift);
    typeEverything(true);
    harness.keyUp(mac::shift);
  }

  InputHarness harness;
};

TEST_P(LayoutTest, TypesEveryCharacterWhateverIsLocked) {
  for (const bool capsLock : {false, true}) {
    for (const bool numLock : {false, true}) {
      SCOPED_TRACE(std::string(capsLock ? "CapsLock " : "") + (numLock ? "NumLock" : ""));
      harness.desk.lock(capsLock, numLock);
      typeEverythingInEveryCase();
    }
  }
}

TEST_P(LayoutTest, LeavesTheKeyboardAsItWasFound) {
  for (const bool isLocked : {false, true}) {
    harness.desk.lock(isLocked, isLocked);
    const auto before = harness.synced().condition();
    typeEverythingInEveryCase();
    harness.events.reset();
    (void)harness.take();
    EXPECT_EQ(harness.synced().condition(), before);
    EXPECT_TRUE(harness.journal().bound.empty());
    harness.events.emplace(harness.server.display(), harness.journal());
  }
}

TEST_P(LayoutTest, ChangesNothingThatIsLockedOrHeldWhileItTypes) {
  harness.desk.lock(true, true);
  const auto before = harness.synced().condition();
  typeEverythingInEveryCase();
  const auto after = harness.synced().condition();
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
