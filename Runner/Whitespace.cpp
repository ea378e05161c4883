#include "Runner/Whitespace.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace quorvin {

namespace {

// All members encoded as UTF-8. None begins another, so at most one matches at any place.
constexpr std::array<std::string_view, 26> whitespaceSequences = {
    "\t",           "\n",           "\v",           "\f",           "\r",           " ",
    "\xC2\x85",     "\xC2\xA0",     "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82",
    "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88",
    "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\x8B", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAF",
    "\xE2\x81\x9F", "\xE3\x80\x80"};

std::size_t leadingWhitespaceBytes(std::string_view text) {
  const auto* match = std::ranges::find_if(
      whitespaceSequences, [&](std::string_view sequence) { return text.starts_with(sequence); });
  return match == whitespaceSequences.end() ? 0 : match->size();
}

std::size_t trailingWhitespaceBytes(std::string_view text) {
  const auto* match = std::ranges::find_if(
      whitespaceSequences, [&](std::string_view sequence) { return text.ends_with(sequence); });
  return match == whitespaceSequences.end() ? 0 : match->size();
}

}  // namespace

std::string_view trimmedWhitespace(std::string_view utf8) {
  while (const auto count = leadingWhitespaceBytes(utf8)) utf8.remove_prefix(count);
  while (const auto count = trailingWhitespaceBytes(utf8)) utf8.remove_suffix(count);
  return utf8;
}

std::vector<std::string_view> splitAtWhitespace(std::string_view utf8) {
  std::vector<std::string_view> runs;
  std::size_t start = 0;
  std::size_t position = 0;
  while (position < utf8.size()) {
    const auto count = leadingWhitespaceBytes(utf8.substr(position));
    if (count == 0) {
      ++position;
      continue;
    }
    if (position > start) runs.push_back(utf8.substr(start, position - start));
    position += count;
    start = position;
  }
  if (start < utf8.size()) runs.push_back(utf8.substr(start));
  return runs;
}

}  // namespace quorvin
