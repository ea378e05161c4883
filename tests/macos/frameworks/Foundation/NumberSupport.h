#pragma once

#import <Foundation/NSValue.h>

#include <cstdint>
#include <variant>

namespace standin {

struct Number {
  char type = 'i';  // by @encode: c, s, i, q, Q, f or d
  std::variant<std::int64_t, std::uint64_t, double> value;
};

[[nodiscard]] Number numberIn(NSNumber* number);
[[nodiscard]] bool isBoolean(NSNumber* number);

}  // namespace standin
