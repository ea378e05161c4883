#include "webui/Report.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace quorvin::webui {
namespace {

constexpr std::size_t wordMax = 20;
constexpr std::size_t capitalsMax = 8;
constexpr std::size_t digitsMax = 4;
constexpr std::size_t textMax = 400;
// Around words; an IPv6 address may begin with colons.
constexpr std::string_view before = "(\"'";
constexpr std::string_view after = ".,:;)\"'";

// None of the locale's letters.
bool isLower(char character) {
  return character >= 'a' && character <= 'z';
}
bool isUpper(char character) {
  return character >= 'A' && character <= 'Z';
}
bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

std::string lowered(std::string_view word) {
  std::string lower(word);
  for (char& character : lower) {
    if (isUpper(character)) character = static_cast<char>(character - 'A' + 'a');
  }
  return lower;
}

bool isPlain(std::string_view word) {
  if (word.size() > 1 && word.front() == '-') word.remove_prefix(1);
  if (std::ranges::all_of(word, isDigit)) return word.size() <= digitsMax;
  if (std::ranges::all_of(word, isUpper)) return word.size() <= capitalsMax;
  return word.size() <= wordMax && (isLower(word.front()) || isUpper(word.front())) &&
         std::ranges::all_of(word.substr(1), isLower);
}

bool isCode(std::string_view code) {
  return !code.empty() && code.size() <= 2 * wordMax && std::ranges::all_of(code, [](char letter) {
    return isLower(letter) || isDigit(letter) || letter == '_';
  });
}

const char* answerIn(const Value& permissions, std::string_view name) {
  const auto* all = permissions.as<Map>();
  const auto* entry = all != nullptr ? all->find(name) : nullptr;
  const auto* granted = entry != nullptr ? entry->as<bool>() : nullptr;
  return granted == nullptr ? "not known" : *granted ? "granted" : "not granted";
}

}  // namespace

void Report::hide(std::string_view names) {
  std::string word;
  const auto take = [&] {
    if (!word.empty()) hidden.insert(lowered(std::exchange(word, {})));
  };
  for (const char character : names) {
    if (isLower(character) || isUpper(character) || isDigit(character)) {
      word += character;
    } else {
      take();
    }
  }
  take();
}

void Report::add(std::string_view code, std::string_view text, Clock::time_point now) {
  text = text.substr(0, textMax);
  if (!errors.empty() && errors.back().code == code && errors.back().text == text) {
    errors.back().last = now;
    ++errors.back().count;
    return;
  }
  errors.push_back({std::string(code), std::string(text), now});
  if (errors.size() > errorsMax) errors.pop_front();
}

std::string Report::shown(std::string_view text) const {
  std::string result;
  std::istringstream words{std::string(text)};
  for (std::string word; words >> word;) {
    const auto first = word.find_first_not_of(before);
    const auto end = word.find_last_not_of(after) + 1;
    if (first >= end) continue;
    const auto bare = word.substr(first, end - first);
    const bool isAddress = word.find("::") != std::string::npos;
    if (isAddress || !isPlain(bare) || hidden.contains(lowered(bare))) {
      word.replace(first, end - first, "…");
    }
    result += (result.empty() ? "" : " ") + word;
  }
  return result;
}

std::string Report::text(const Value& permissions, Clock::time_point now) const {
  std::ostringstream report;
  report << system << "Screen Recording: " << answerIn(permissions, "screenRecording")
         << "\nAccessibility: " << answerIn(permissions, "accessibility")
         << "\nLast errors:" << (errors.empty() ? " none" : "") << '\n';
  for (const auto& error : errors) {
    const auto age = std::chrono::duration_cast<std::chrono::minutes>(now - error.last);
    report << "  " << age.count() << " min ago: " << (isCode(error.code) ? error.code : "…");
    if (error.count > 1) report << ", " << error.count << " times";
    report << ": " << shown(error.text) << '\n';
  }
  return report.str();
}

}  // namespace quorvin::webui
