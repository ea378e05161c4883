#include "tests/contract/SameValue.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace quorvin::contract {
namespace {

bool isSameDouble(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

bool isSameEntry(const MapEntry& a, const MapEntry& b) {
  return isSameValue(a.key, b.key) && isSameValue(a.value, b.value);
}

bool isSameMap(const Map& a, const Map& b) {
  return std::ranges::is_permutation(a.entries(), b.entries(), isSameEntry);
}

}  // namespace

bool isSameValue(const Value& a, const Value& b) {
  if (a.variant().index() != b.variant().index()) return false;
  if (const auto* number = a.as<double>()) return isSameDouble(*number, *b.as<double>());
  if (const auto* numbers = a.as<std::vector<double>>()) {
    return std::ranges::equal(*numbers, *b.as<std::vector<double>>(), isSameDouble);
  }
  if (const auto* list = a.as<List>()) return std::ranges::equal(*list, *b.as<List>(), isSameValue);
  if (const auto* map = a.as<Map>()) return isSameMap(*map, *b.as<Map>());
  return a == b;
}

}  // namespace quorvin::contract
