#include <gtest/gtest.h>

#include <string>

#include "platform/linux/system/Text.h"

namespace quorvin {
namespace {

TEST(LinuxText, CutsPlainTextByCharacters) {
  LinuxText text;
  EXPECT_EQ(text.prefix("support", 4), "supp");
  EXPECT_EQ(text.prefix("support", 7), "support");
  EXPECT_EQ(text.prefix("support", 100), "support");
  EXPECT_EQ(text.prefix("support", 0), "");
  EXPECT_EQ(text.prefix("", 3), "");
}

TEST(LinuxText, NeverCutsAUserPerceivedCharacter) {
  LinuxText text;
  const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
  const std::string flags = "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7";
  EXPECT_EQ(text.prefix("é!", 1), "é");
  EXPECT_EQ(text.prefix("e\u0301!", 1), "e\u0301");
  EXPECT_EQ(text.prefix(family + "!", 1), family);
  EXPECT_EQ(text.prefix(flags, 1), "\U0001F1E9\U0001F1EA");
  EXPECT_EQ(text.prefix("\r\n\n", 1), "\r\n");
  EXPECT_EQ(text.prefix("\u1112\u1161\u11ab\u1100\u1173\u11af", 1), "\u1112\u1161\u11ab");
  EXPECT_EQ(text.prefix("한글", 1), "한");
}

TEST(LinuxText, ReturnsAllOfATextWithFewerCharactersThanBytes) {
  EXPECT_EQ(LinuxText().prefix("ééé", 5), "ééé");
}

TEST(LinuxText, KeepsNulCharacters) {
  const std::string withNul("a\0bc", 4);
  EXPECT_EQ(LinuxText().prefix(withNul, 3), std::string("a\0b", 3));
}

TEST(LinuxText, CountsIllFormedBytesAsCharactersAndKeepsThem) {
  LinuxText text;
  EXPECT_EQ(text.prefix("a\xFF\xFE"
                        "b",
                        2),
            "a\xFF");
  EXPECT_EQ(text.prefix("\xC3"
                        "abc",
                        2),
            "\xC3"
            "a");
  EXPECT_EQ(text.prefix("abc\xF0\x9F", 3), "abc");
  EXPECT_EQ(text.prefix("\x80\x80\x80", 5), "\x80\x80\x80");
}

TEST(LinuxText, CopesWithMegabytes) {
  LinuxText text;
  constexpr std::size_t count = 4'000'000;
  const std::string plain(count, 'x');
  EXPECT_EQ(text.prefix(plain, 80).size(), 80U);
  EXPECT_EQ(text.prefix(plain, count - 1).size(), count - 1);
  std::string marks = "e";
  for (std::size_t mark = 0; mark < count / 2; ++mark) marks += "\u0301";
  EXPECT_EQ(text.prefix(marks + "!", 1), marks);
  EXPECT_EQ(text.prefix(std::string(count, '\xFF'), count - 1).size(), count - 1);
}

}  // namespace
}  // namespace quorvin
