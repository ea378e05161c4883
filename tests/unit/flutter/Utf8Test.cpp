#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/flutter/Utf8.h"

namespace quorvin {
namespace {

TEST(Utf8, AcceptsEveryLengthOfSequence) {
  EXPECT_TRUE(isUtf8(""));
  EXPECT_TRUE(isUtf8("plain"));
  EXPECT_TRUE(isUtf8("gr\xC3\xBC\xC3\x9F"));
  EXPECT_TRUE(isUtf8("h\xE2\x98\xBAw"));
  EXPECT_TRUE(isUtf8("\xF0\x9F\x98\x80"));
  EXPECT_TRUE(isUtf8(std::string(3, '\0')));
}

TEST(Utf8, AcceptsTheFirstAndLastCodePointOfEachRange) {
  EXPECT_TRUE(isUtf8("\x7F"));
  EXPECT_TRUE(isUtf8("\xC2\x80"));
  EXPECT_TRUE(isUtf8("\xDF\xBF"));
  EXPECT_TRUE(isUtf8("\xE0\xA0\x80"));
  EXPECT_TRUE(isUtf8("\xED\x9F\xBF"));
  EXPECT_TRUE(isUtf8("\xEE\x80\x80"));
  EXPECT_TRUE(isUtf8("\xEF\xBF\xBF"));
  EXPECT_TRUE(isUtf8("\xF0\x90\x80\x80"));
  EXPECT_TRUE(isUtf8("\xF4\x8F\xBF\xBF"));
}

TEST(Utf8, RefusesOverlongForms) {
  EXPECT_FALSE(isUtf8("\xC0\x80"));
  EXPECT_FALSE(isUtf8("\xC1\xBF"));
  EXPECT_FALSE(isUtf8("\xE0\x9F\xBF"));
  EXPECT_FALSE(isUtf8("\xF0\x8F\xBF\xBF"));
}

TEST(Utf8, RefusesSurrogatesAndWhatLiesAboveTheLastCodePoint) {
  EXPECT_FALSE(isUtf8("\xED\xA0\x80"));
  EXPECT_FALSE(isUtf8("\xED\xBF\xBF"));
  EXPECT_FALSE(isUtf8("\xF4\x90\x80\x80"));
  EXPECT_FALSE(isUtf8("\xF5\x80\x80\x80"));
  EXPECT_FALSE(isUtf8("\xFF"));
}

TEST(Utf8, RefusesLoneAndMissingContinuationBytes) {
  EXPECT_FALSE(isUtf8("\x80"));
  EXPECT_FALSE(isUtf8("\xBF"));
  EXPECT_FALSE(isUtf8("\xC3"));
  EXPECT_FALSE(isUtf8("\xC3("));
  EXPECT_FALSE(isUtf8("\xE2\x98"));
  EXPECT_FALSE(isUtf8("\xE2(\x98"));
  EXPECT_FALSE(isUtf8("\xE2\x98("));
  EXPECT_FALSE(isUtf8("\xF0\x9F\x98"));
  EXPECT_FALSE(isUtf8("\xF0\x9F\x98("));
  EXPECT_FALSE(isUtf8("\xF0\x9F(\x80"));
}

TEST(Utf8, MeasuresTheCharacterAtTheFront) {
  EXPECT_EQ(utf8CharacterLength(""), 0U);
  EXPECT_EQ(utf8CharacterLength("a"), 1U);
  EXPECT_EQ(utf8CharacterLength("\xC2\x80"), 2U);
  EXPECT_EQ(utf8CharacterLength("\xDF\xBFx"), 2U);
  EXPECT_EQ(utf8CharacterLength("\xE0\xA0\x80"), 3U);
  EXPECT_EQ(utf8CharacterLength("\xE1\x80\x80"), 3U);
  EXPECT_EQ(utf8CharacterLength("\xED\x9F\xBF"), 3U);
  EXPECT_EQ(utf8CharacterLength("\xEF\xBF\xBD"), 3U);
  EXPECT_EQ(utf8CharacterLength("\xF0\x90\x80\x80"), 4U);
  EXPECT_EQ(utf8CharacterLength("\xF1\x80\x80\x80"), 4U);
  EXPECT_EQ(utf8CharacterLength("\xF4\x8F\xBF\xBF"), 4U);
}

TEST(Utf8, FindsNoCharacterInWhatIsIllFormed) {
  constexpr std::array illFormed{
      "\x80",              // a byte that only follows
      "\xC0\x80",          // two bytes for what one says
      "\xC1\xBF",          //
      "\xE0\x9F\xBF",      // three bytes for what two say
      "\xED\xA0\x80",      // a surrogate
      "\xF0\x8F\xBF\xBF",  // four bytes for what three say
      "\xF4\x90\x80\x80",  // above U+10FFFF
      "\xF5\x80\x80\x80",  //
      "\xFF",              //
      "\xC3(",             // cut short by another character
      "\xE2\x82(",         //
      "\xF0\x9F\x98(",     //
      "\xF0\x9F\x98",      // cut short by the end
  };
  for (const auto* bytes : illFormed) EXPECT_EQ(utf8CharacterLength(bytes), 0U) << bytes;
}

}  // namespace
}  // namespace quorvin
