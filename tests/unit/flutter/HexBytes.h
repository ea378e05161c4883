#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <string_view>

#include "platform/Data.h"

namespace quorvin {

inline int hexDigit(char digit) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto value = digits.find(digit);
  if (value == std::string_view::npos) throw std::invalid_argument("not a hexadecimal digit");
  return static_cast<int>(value);
}

// The bytes written as pairs of hexadecimal digits; blanks between them do not count.
inline Bytes hex(std::string_view text) {
  Bytes bytes;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == ' ') {
      ++i;
    } else {
      bytes.push_back(
          static_cast<std::uint8_t>(16 * hexDigit(text.at(i)) + hexDigit(text.at(i + 1))));
      i += 2;
    }
  }
  return bytes;
}

inline Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// The runs of zero bytes that padding is made of.
inline Bytes zeros(std::size_t count) {
  return Bytes(count, 0);
}

}  // namespace quorvin
