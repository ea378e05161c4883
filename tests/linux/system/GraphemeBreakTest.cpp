// Unicode's own examples of where user-perceived characters begin and end
// (https://www.unicode.org/Public/15.0.0/ucd/auxiliary/GraphemeBreakTest.txt), as Debian's package
// unicode-data has them.

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/linux/system/Text.h"

namespace quorvin {
namespace {

constexpr auto examples = "/usr/share/unicode/auxiliary/GraphemeBreakTest.txt";

std::string utf8(std::uint32_t codePoint) {
  const auto tail = [codePoint](unsigned shift) {
    return static_cast<char>(0x80U | (codePoint >> shift & 0x3FU));
  };
  if (codePoint < 0x80) return {static_cast<char>(codePoint)};
  if (codePoint < 0x800) return {static_cast<char>(0xC0U | codePoint >> 6U), tail(0)};
  if (codePoint < 0x10000) {
    return {static_cast<char>(0xE0U | codePoint >> 12U), tail(6), tail(0)};
  }
  return {static_cast<char>(0xF0U | codePoint >> 18U), tail(12), tail(6), tail(0)};
}

// The characters of an example such as "÷ 0020 × 0308 ÷ 0020 ÷", each a text.
std::vector<std::string> charactersOf(const std::string& example) {
  std::vector<std::string> characters;
  std::istringstream words(example);
  bool begins = true;
  for (std::string word; words >> word;) {
    if (word == "÷" || word == "×") {
      begins = word == "÷";
    } else {
      if (begins) characters.emplace_back();
      characters.back() += utf8(static_cast<std::uint32_t>(std::stoul(word, nullptr, 16)));
    }
  }
  return characters;
}

TEST(LinuxText, FindsTheCharactersOfUnicodesExamples) {
  std::ifstream file(examples);
  ASSERT_TRUE(file) << "install the package unicode-data";
  LinuxText text;
  int count = 0;
  for (std::string line; std::getline(file, line);) {
    const auto characters = charactersOf(line.substr(0, line.find('#')));
    if (characters.empty()) continue;
    ++count;
    std::string whole;
    for (const auto& character : characters) whole += character;
    std::string expected;
    for (std::size_t kept = 0; kept <= characters.size(); ++kept) {
      EXPECT_EQ(text.prefix(whole, kept), expected) << line;
      if (kept < characters.size()) expected += characters[kept];
    }
  }
  EXPECT_GT(count, 500);
}

}  // namespace
}  // namespace quorvin
