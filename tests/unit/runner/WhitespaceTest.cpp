#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Runner/Whitespace.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string utf8(char32_t codePoint) {
  const auto value = static_cast<unsigned>(codePoint);
  std::string text;
  if (value < 0x80) {
    text += static_cast<char>(value);
  } else if (value < 0x800) {
    text += static_cast<char>(0xC0U | (value >> 6U));
    text += static_cast<char>(0x80U | (value & 0x3FU));
  } else if (value < 0x10000) {
    text += static_cast<char>(0xE0U | (value >> 12U));
    text += static_cast<char>(0x80U | ((value >> 6U) & 0x3FU));
    text += static_cast<char>(0x80U | (value & 0x3FU));
  } else {
    text += static_cast<char>(0xF0U | (value >> 18U));
    text += static_cast<char>(0x80U | ((value >> 12U) & 0x3FU));
    text += static_cast<char>(0x80U | ((value >> 6U) & 0x3FU));
    text += static_cast<char>(0x80U | (value & 0x3FU));
  }
  return text;
}

bool isMember(char32_t c) {
  return (c >= 0x9 && c <= 0xD) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200B) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
         c == 0x3000;
}

TEST(Whitespace, HasExactlyTheTwentySixCodePoints) {
  int members = 0;
  for (char32_t c = 1; c <= 0x10FFFF; ++c) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    const bool trimmedAway = trimmedWhitespace(utf8(c)).empty();
    ASSERT_EQ(trimmedAway, isMember(c)) << "U+" << std::hex << static_cast<unsigned>(c);
    members += trimmedAway ? 1 : 0;
  }
  EXPECT_EQ(members, 26);
}

TEST(Whitespace, TrimsBothEndsOnly) {
  EXPECT_EQ(trimmedWhitespace(" \t\xE2\x80\x8B two  words \r\n"), "two  words");
  EXPECT_EQ(trimmedWhitespace("plain"), "plain");
  EXPECT_EQ(trimmedWhitespace(""), "");
  EXPECT_EQ(trimmedWhitespace("\xE3\x80\x80 \n"), "");
}

TEST(Whitespace, SplitsAtEveryRunAndKeepsNoEmptyPiece) {
  EXPECT_THAT(splitAtWhitespace("  a\t\tb \n"), ElementsAre("a", "b"));
  EXPECT_THAT(splitAtWhitespace("a\xC2\xA0"
                                "b"),
              ElementsAre("a", "b"));
  EXPECT_THAT(splitAtWhitespace("one"), ElementsAre("one"));
  EXPECT_THAT(splitAtWhitespace(""), IsEmpty());
  EXPECT_THAT(splitAtWhitespace(" \r\n\xE2\x80\xA8"), IsEmpty());
}

TEST(Whitespace, LeavesBrokenUtf8AsItIs) {
  EXPECT_EQ(trimmedWhitespace(" \xE2\x80 "), "\xE2\x80");
  EXPECT_THAT(splitAtWhitespace("\x80 \xFF"), ElementsAre("\x80", "\xFF"));
}

}  // namespace
}  // namespace quorvin
