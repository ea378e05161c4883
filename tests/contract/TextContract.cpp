#include "tests/contract/TextContract.h"

#include <string>

namespace quorvin::contract {

TEST_P(TextContract, CutsPlainTextByCharacters) {
  EXPECT_EQ(prefix("support", 0), "");
  EXPECT_EQ(prefix("support", 1), "s");
  EXPECT_EQ(prefix("support", 4), "supp");
  EXPECT_EQ(prefix("support", 6), "suppor");
}

TEST_P(TextContract, ReturnsAllOfATextThatHasNoMoreCharacters) {
  EXPECT_EQ(prefix("support", 7), "support");
  EXPECT_EQ(prefix("support", 100), "support");
  EXPECT_EQ(prefix("ééé", 3), "ééé");
  EXPECT_EQ(prefix("ééé", 5), "ééé");
  EXPECT_EQ(prefix("", 0), "");
  EXPECT_EQ(prefix("", 3), "");
}

TEST_P(TextContract, CountsCharactersAndNotBytesOrCodeUnits) {
  EXPECT_EQ(prefix("Büro", 2), "Bü");
  EXPECT_EQ(prefix("한글!", 1), "한");
  EXPECT_EQ(prefix("한글!", 2), "한글");
  EXPECT_EQ(prefix("\U0001F600\U0001F601\U0001F602", 2), "\U0001F600\U0001F601");
  EXPECT_EQ(prefix("a\U0001F600b", 2), "a\U0001F600");
}

TEST_P(TextContract, KeepsNulCharacters) {
  const std::string withNul("a\0bc", 4);
  EXPECT_EQ(prefix(withNul, 2), std::string("a\0", 2));
  EXPECT_EQ(prefix(withNul, 3), std::string("a\0b", 3));
  EXPECT_EQ(prefix(withNul, 9), withNul);
}

TEST_P(LargeTextContract, CopesWithMegabytes) {
  constexpr std::size_t count = 1'000'000;
  const std::string plain(count, 'x');
  EXPECT_EQ(prefix(plain, 80), std::string(80, 'x'));
  EXPECT_EQ(prefix(plain, count - 1).size(), count - 1);
  EXPECT_EQ(prefix(plain, count).size(), count);
  EXPECT_EQ(prefix(std::string(count, '\xFF'), count - 1).size(), count - 1);
}

TEST_P(TextCharactersContract, NeverCutsACombinedLetter) {
  EXPECT_EQ(prefix("e\u0301!", 1), "e\u0301");
  EXPECT_EQ(prefix("e\u0301!", 2), "e\u0301!");
  EXPECT_EQ(prefix("\u1112\u1161\u11ab\u1100\u1173\u11af", 1), "\u1112\u1161\u11ab");
}

TEST_P(TextCharactersContract, NeverCutsAnEmoji) {
  const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
  EXPECT_EQ(prefix(family + "!", 1), family);
  const std::string darkThumb = "\U0001F44D\U0001F3FF";
  EXPECT_EQ(prefix(darkThumb + darkThumb, 1), darkThumb);
  const std::string germany = "\U0001F1E9\U0001F1EA";
  const std::string france = "\U0001F1EB\U0001F1F7";
  EXPECT_EQ(prefix(germany + france, 1), germany);
}

TEST_P(TextCharactersContract, TakesALineEndForOneCharacter) {
  EXPECT_EQ(prefix("\r\n\n", 1), "\r\n");
  EXPECT_EQ(prefix("\r\n\n", 2), "\r\n\n");
  EXPECT_EQ(prefix("a\r\nb", 2), "a\r\n");
  EXPECT_EQ(prefix("\n\r", 1), "\n");
}

TEST_P(TextCharactersContract, CountsIllFormedBytesAsCharactersAndKeepsThem) {
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
}

TEST_P(LargeTextContract, CopesWithACharacterOfMegabytes) {
  std::string marks = "e";
  for (int mark = 0; mark < 500'000; ++mark) marks += "\u0301";
  EXPECT_EQ(prefix(marks + "!", 1), marks);
}

}  // namespace quorvin::contract
