#import "platform/macos/Text.h"

#include <string>

#include "tests/macos/standin/StandInTest.h"

namespace quorvin {
namespace {

class TextTest : public standin::StandInTest {
 protected:
  std::string prefix(std::string_view utf8, std::size_t count) { return text.prefix(utf8, count); }

  MacText text;
};

TEST_F(TextTest, CutsPlainTextByCharacters) {
  EXPECT_EQ(prefix("support", 4), "supp");
  EXPECT_EQ(prefix("support", 7), "support");
  EXPECT_EQ(prefix("support", 100), "support");
  EXPECT_EQ(prefix("support", static_cast<std::size_t>(-1)), "support");
  EXPECT_EQ(prefix("support", 0), "");
  EXPECT_EQ(prefix("", 3), "");
  EXPECT_EQ(prefix("", 0), "");
}

TEST_F(TextTest, NeverCutsAUserPerceivedCharacter) {
  const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
  const std::string flags = "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7";
  EXPECT_EQ(prefix("é!", 1), "é");
  EXPECT_EQ(prefix("e\u0301!", 1), "e\u0301");
  EXPECT_EQ(prefix(family + "!", 1), family);
  EXPECT_EQ(prefix(flags, 1), "\U0001F1E9\U0001F1EA");
  EXPECT_EQ(prefix("\u1112\u1161\u11ab\u1100\u1173\u11af", 1), "\u1112\u1161\u11ab");
  EXPECT_EQ(prefix("한글", 1), "한");
}

TEST_F(TextTest, TakesALineEndForOneCharacter) {
  EXPECT_EQ(prefix("\r\n\n", 1), "\r\n");
  EXPECT_EQ(prefix("\r\n\n", 2), "\r\n\n");
  EXPECT_EQ(prefix("a\r\nb", 2), "a\r\n");
  EXPECT_EQ(prefix("\n\r\n", 1), "\n");
  EXPECT_EQ(prefix("\r\r\n", 1), "\r");
}

TEST_F(TextTest, ReturnsAllOfATextWithFewerCharactersThanBytes) {
  EXPECT_EQ(prefix("ééé", 5), "ééé");
}

TEST_F(TextTest, KeepsNulCharacters) {
  const std::string withNul("a\0bc", 4);
  EXPECT_EQ(prefix(withNul, 3), std::string("a\0b", 3));
}

TEST_F(TextTest, CountsIllFormedBytesAsCharactersAndKeepsThem) {
  EXPECT_EQ(prefix("a\xFF\xFE"
                   "b",
                   2),
            "a\xFF");
  EXPECT_EQ(prefix("\xC3"
                   "abc",
                   2),
            "\xC3"
            "a");
  EXPECT_EQ(prefix("abc\xF0\x9F", 3), "abc");
  EXPECT_EQ(prefix("\x80\x80\x80", 5), "\x80\x80\x80");
  EXPECT_EQ(prefix("\x80\U0001F468\x80\x80", 2), "\x80\U0001F468");
}

TEST_F(TextTest, CopesWithALongText) {
  EXPECT_EQ(prefix(std::string(500'000, 'x'), 80), std::string(80, 'x'));
}

TEST_F(TextTest, CopesWithManyMarksOnOneCharacter) {
  std::string marks = "e";
  for (int mark = 0; mark < 10'000; ++mark) marks += "\u0301";
  EXPECT_EQ(prefix(marks + "!", 1), marks);
}

}  // namespace
}  // namespace quorvin
