#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <string>

#include "platform/linux/input/KeyMeaning.h"

namespace quorvin {
namespace {

std::string nameOf(std::uint32_t symbol) {
  std::array<char, 64> name{};
  xkb_keysym_get_name(symbol, name.data(), name.size());
  return name.data();
}

const KeyRow* row(std::uint16_t virtualKey) {
  const auto found = std::ranges::find(keyTable(), virtualKey, &KeyRow::virtualKey);
  return found != keyTable().end() ? &*found : nullptr;
}

TEST(KeyTable, HasEveryKeyOnceInOrder) {
  EXPECT_EQ(keyTable().size(), 120U);
  EXPECT_TRUE(std::ranges::is_sorted(keyTable(), std::less_equal<>(), &KeyRow::virtualKey));
  EXPECT_EQ(row(52), nullptr);
  EXPECT_EQ(row(127), nullptr);
}

TEST(KeyTable, KnowsKeysByTheNamesOfX) {
  EXPECT_EQ(nameOf(row(0)->symbol), "a");
  EXPECT_EQ(nameOf(row(36)->symbol), "Return");
  EXPECT_EQ(nameOf(row(69)->symbol), "KP_Add");
  EXPECT_EQ(nameOf(row(72)->symbol), "XF86AudioRaiseVolume");
  EXPECT_EQ(nameOf(row(126)->symbol), "Up");
  EXPECT_EQ(row(0)->evdevCode, 30);
}

TEST(KeyTable, HasASymbolThatXKnowsForEveryKey) {
  for (const auto& each : keyTable()) {
    EXPECT_EQ(xkb_keysym_from_name(nameOf(each.symbol).c_str(), XKB_KEYSYM_NO_FLAGS), each.symbol)
        << each.virtualKey;
  }
}

TEST(KeyTable, CallsAKeyByWhatItTypes) {
  for (const auto& each : keyTable()) {
    if (each.plain != 0) {
      EXPECT_EQ(each.plain, each.symbol) << each.virtualKey;
    }
  }
  EXPECT_EQ(nameOf(row(19)->shifted), "at");
  EXPECT_EQ(nameOf(row(43)->shifted), "less");
  EXPECT_EQ(nameOf(row(39)->shifted), "quotedbl");
  EXPECT_EQ(nameOf(row(42)->plain), "backslash");
  EXPECT_EQ(nameOf(row(10)->shifted), "plusminus");
  EXPECT_EQ(nameOf(row(94)->shifted), "underscore");
  EXPECT_EQ(row(36)->plain, 0U);
}

TEST(KeyMeaning, IsNoneForWhatCannotBeSent) {
  EXPECT_FALSE(keyMeaning(52).has_value());
  EXPECT_FALSE(keyMeaning(57).has_value());
  EXPECT_FALSE(keyMeaning(63).has_value());
  EXPECT_FALSE(keyMeaning(128).has_value());
  EXPECT_FALSE(keyMeaning(65535).has_value());
}

TEST(KeyMeaning, IsTheCharacterOfAKeypadDigit) {
  EXPECT_EQ(keyMeaning(83)->types, (KeySymbols{XKB_KEY_KP_1, XKB_KEY_KP_1}));
  EXPECT_EQ(keyMeaning(71)->types, (KeySymbols{XKB_KEY_Clear, XKB_KEY_Clear}));
  EXPECT_FALSE(keyMeaning(69)->types.has_value());
}

}  // namespace
}  // namespace quorvin
