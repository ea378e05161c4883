#include "tests/macos/frameworks/Foundation/Unicode.h"

#include <unicode/ubrk.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <memory>
#include <stdexcept>

namespace standin {
namespace {

constexpr UChar32 replacement = 0xFFFD;
constexpr UChar32 noSubstitute = -1;

std::int32_t sizeOf(std::size_t size) {
  if (size > INT32_MAX / 4) throw std::length_error("a text is too long for ICU");
  return static_cast<std::int32_t>(size);
}

std::optional<std::string> toUtf8(std::u16string_view units, UChar32 substitute) {
  std::string utf8(units.size() * 3, '\0');
  std::int32_t length = 0;
  auto status = U_ZERO_ERROR;
  u_strToUTF8WithSub(utf8.data(), sizeOf(utf8.size()), &length, units.data(), sizeOf(units.size()),
                     substitute, nullptr, &status);
  if (U_FAILURE(status)) return std::nullopt;
  utf8.resize(static_cast<std::size_t>(length));
  return utf8;
}

}  // namespace

std::optional<std::u16string> utf16FromUtf8(std::string_view utf8) {
  std::u16string units(utf8.size(), u'\0');
  std::int32_t length = 0;
  auto status = U_ZERO_ERROR;
  u_strFromUTF8(units.data(), sizeOf(units.size()), &length, utf8.data(), sizeOf(utf8.size()),
                &status);
  if (U_FAILURE(status)) return std::nullopt;
  units.resize(static_cast<std::size_t>(length));
  return units;
}

std::optional<std::string> utf8FromUtf16(std::u16string_view units) {
  return toUtf8(units, noSubstitute);
}

std::string repairedUtf8(std::u16string_view units) { return toUtf8(units, replacement).value(); }

std::u16string decomposed(std::u16string_view units) {
  auto status = U_ZERO_ERROR;
  std::u16string result(units.size() * 4, u'\0');  // no character becomes more than four units
  const auto length =
      unorm2_normalize(unorm2_getNFDInstance(&status), units.data(), sizeOf(units.size()),
                       result.data(), sizeOf(result.size()), &status);
  if (U_FAILURE(status)) throw std::runtime_error("ICU cannot decompose a text");
  result.resize(static_cast<std::size_t>(length));
  return result;
}

UnitRange characterAround(std::u16string_view units, std::size_t index) {
  auto status = U_ZERO_ERROR;
  const std::unique_ptr<UBreakIterator, decltype(&ubrk_close)> breaks(
      ubrk_open(UBRK_CHARACTER, "", units.data(), sizeOf(units.size()), &status), ubrk_close);
  if (U_FAILURE(status)) throw std::runtime_error("ICU knows no character boundaries");
  const auto end = ubrk_following(breaks.get(), sizeOf(index));
  const auto begin = ubrk_previous(breaks.get());
  return {static_cast<std::size_t>(begin), static_cast<std::size_t>(end)};
}

}  // namespace standin
