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

// What every back end keeps to is in the contract of texts; here are the turns that this one has.

TEST_F(TextTest, TakesTheLargestCountForAll) {
  EXPECT_EQ(prefix("support", static_cast<std::size_t>(-1)), "support");
}

TEST_F(TextTest, TellsALineEndFromItsHalves) {
  EXPECT_EQ(prefix("\n\r\n", 1), "\n");
  EXPECT_EQ(prefix("\r\r\n", 1), "\r");
}

TEST_F(TextTest, CountsIllFormedBytesAroundACharacter) {
  EXPECT_EQ(prefix("\x80\U0001F468\x80\x80", 2), "\x80\U0001F468");
}

// Smaller than those of the contract, which the stand-in is too slow for.
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
