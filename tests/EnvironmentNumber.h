#pragma once

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace quorvin {

// The whole number in a variable of the environment, with which a test can be made longer or
// replayed. Throws std::runtime_error when there is something else in it.
inline std::optional<std::uint64_t> numberFromEnvironment(const char* name) {
  const char* text = std::getenv(name);
  if (text == nullptr) return std::nullopt;
  const std::string_view digits(text);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    throw std::runtime_error(std::string(name) + " must be a whole number, not \"" + text + "\".");
  }
  return number;
}

}  // namespace quorvin
