#include "tests/unit/flutter/RandomValue.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace quorvin {

Value RandomValue::make(int depthLeft) {
  switch (below(depthLeft > 0 ? 13 : 11)) {
    case 0:
      return nullptr;
    case 1:
      return true;
    case 2:
      return false;
    case 3:
      return makeInteger();
    case 4:
      return makeDouble();
    case 5:
      return makeText();
    case 6:
      return Data(makeNumbers<std::uint8_t>());
    case 7:
      return makeNumbers<std::int32_t>();
    case 8:
      return makeNumbers<std::int64_t>();
    case 9:
      return makeNumbers<float>();
    case 10:
      return makeNumbers<double>();
    case 11:
      return makeList(depthLeft - 1);
    default:
      return makeMap(depthLeft - 1);
  }
}

// As many small ones as large ones: the width on the wire depends on the value.
Value RandomValue::makeInteger() {
  return static_cast<std::int64_t>(engine()) >> below(64);
}

// Never NaN, which is unequal to itself.
double RandomValue::makeDouble() {
  return static_cast<double>(static_cast<std::int64_t>(engine())) / 1024.0;
}

std::string RandomValue::makeText() {
  static constexpr std::array<std::string_view, 6> letters = {
      "a", "\xC3\xBC", "\xE2\x98\xBA", "\xF0\x9F\x98\x80", "\n", std::string_view("\0", 1)};
  std::string text;
  for (std::size_t left = makeSize(); left > 0; --left) text += letters.at(below(letters.size()));
  return text;
}

// Mostly small, sometimes around the border of the one-byte form.
std::size_t RandomValue::makeSize() {
  return below(10) == 0 ? 250 + below(10) : below(6);
}

template <typename T>
std::vector<T> RandomValue::makeNumbers() {
  std::vector<T> numbers(makeSize());
  for (auto& number : numbers) number = static_cast<T>(static_cast<std::int64_t>(engine()));
  return numbers;
}

List RandomValue::makeList(int depthLeft) {
  List list;
  for (auto left = below(6); left > 0; --left) list.push_back(make(depthLeft));
  return list;
}

Map RandomValue::makeMap(int depthLeft) {
  Map map;
  for (auto left = below(6); left > 0; --left) {
    Value key = make(depthLeft);
    map.append(std::move(key), make(depthLeft));
  }
  return map;
}

}  // namespace quorvin
