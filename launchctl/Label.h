#pragma once

#include <string_view>

namespace quorvin::launchctl {

// Whether a text can be the label of an agent: its name among all agents of the user. Files and a
// systemd unit are named after it, so it is made of the letters that are safe in both.
[[nodiscard]] inline bool isLabel(std::string_view text) {
  constexpr std::size_t longest = 200;
  constexpr std::string_view letters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  constexpr std::string_view signs = ".-_";
  if (text.empty() || text.size() > longest) return false;
  // A first "." would hide a file, a first "-" looks like an option.
  if (signs.find(text.front()) != std::string_view::npos) return false;
  for (const char letter : text) {
    if (letters.find(letter) == std::string_view::npos &&
        signs.find(letter) == std::string_view::npos) {
      return false;
    }
  }
  return true;
}

}  // namespace quorvin::launchctl
