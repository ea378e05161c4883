#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace standin {

// Nothing for ill-formed UTF-8.
[[nodiscard]] std::optional<std::u16string> utf16FromUtf8(std::string_view utf8);
// Nothing when a surrogate has no partner.
[[nodiscard]] std::optional<std::string> utf8FromUtf16(std::u16string_view units);
// With U+FFFD for such a surrogate.
[[nodiscard]] std::string repairedUtf8(std::u16string_view units);

// Canonically decomposed (NFD), as the system's file paths are.
[[nodiscard]] std::u16string decomposed(std::u16string_view units);

struct UnitRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// The user-perceived character (extended grapheme cluster, Unicode UAX #29) around a unit.
[[nodiscard]] UnitRange characterAround(std::u16string_view units, std::size_t index);

}  // namespace standin
