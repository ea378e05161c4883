#import "tests/macos/frameworks/Foundation/Support.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>
#include <variant>

#include "tests/macos/frameworks/Foundation/NumberSupport.h"

// Numbers keep the type they were made of, widened to the next signed one as Foundation's are: an
// unsigned int becomes a long long. A boolean is not among these.
@interface StandInNumber : NSNumber {
 @public
  standin::Number number;
}
@end

// The two booleans, which are static objects.
@interface __NSCFBoolean : NSNumber
@end

namespace standin {
namespace {

template <typename T>
Number numberOf(T value) {
  if constexpr (std::is_same_v<T, float>) {
    return {'f', static_cast<double>(value)};
  } else if constexpr (std::is_same_v<T, double>) {
    return {'d', value};
  } else if constexpr (std::is_signed_v<T>) {
    constexpr char types[] = {'c', 's', 0, 'i', 0, 0, 0, 'q'};
    return {types[sizeof(T) - 1], static_cast<std::int64_t>(value)};
  } else if constexpr (sizeof(T) < sizeof(std::int64_t)) {
    constexpr char types[] = {'s', 'i', 0, 'q'};
    return {types[sizeof(T) - 1], static_cast<std::int64_t>(value)};
  } else {
    if (value > INT64_MAX) return {'Q', static_cast<std::uint64_t>(value)};
    return {'q', static_cast<std::int64_t>(value)};
  }
}

// What an arm64 processor makes of it: limits for what does not fit, zero for no number.
std::int64_t integerOf(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 0x1p63) return INT64_MAX;
  if (value < -0x1p63) return INT64_MIN;
  return static_cast<std::int64_t>(value);
}

template <typename T>
struct Converter {
  T operator()(double value) const {
    if constexpr (std::is_floating_point_v<T>) return static_cast<T>(value);
    return static_cast<T>(integerOf(value));
  }
  template <typename Integer>
  T operator()(Integer value) const {
    return static_cast<T>(value);  // an integer that does not fit keeps its low bits
  }
};

template <typename T>
T valueOf(NSNumber* number) {
  return std::visit(Converter<T>(), numberIn(number).value);
}

bool areEqual(const Number& left, const Number& right) {
  return std::visit(
      [](auto first, auto second) {
        if constexpr (std::is_integral_v<decltype(first)> && std::is_integral_v<decltype(second)>) {
          return std::cmp_equal(first, second);
        } else {
          return static_cast<double>(first) == static_cast<double>(second);
        }
      },
      left.value, right.value);
}

std::string text(const Number& number) {
  if (const auto* integer = std::get_if<std::int64_t>(&number.value))
    return std::to_string(*integer);
  if (const auto* large = std::get_if<std::uint64_t>(&number.value)) return std::to_string(*large);
  char buffer[40];
  const auto* format = number.type == 'f' ? "%0.7g" : "%0.16g";
  std::snprintf(buffer, sizeof buffer, format, std::get<double>(number.value));
  return buffer;
}

NSNumber* made(const Number& number) {
  StandInNumber* object = [StandInNumber alloc];
  object->number = number;
  return autoreleased(object);
}

}  // namespace

Number numberIn(NSNumber* number) {
  if (isBoolean(number)) {
    return {'c', std::int64_t{(CFBooleanRef)number == kCFBooleanTrue ? 1 : 0}};
  }
  return static_cast<StandInNumber*>(number)->number;
}

bool isBoolean(NSNumber* number) { return [number isKindOfClass:[__NSCFBoolean class]]; }

}  // namespace standin

using standin::made;
using standin::numberOf;
using standin::valueOf;

@implementation NSNumber

// clang-format off
- (int)intValue { return valueOf<int>(self); }
- (unsigned int)unsignedIntValue { return valueOf<unsigned int>(self); }
- (long long)longLongValue { return valueOf<long long>(self); }
- (double)doubleValue { return valueOf<double>(self); }
// clang-format on

- (BOOL)boolValue {
  return valueOf<double>(self) != 0;
}

- (NSString*)stringValue {
  return standin::stringOf(std::string_view(standin::text(standin::numberIn(self))));
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (BOOL)isEqualToNumber:(NSNumber*)number {
  return standin::areEqual(standin::numberIn(self), standin::numberIn(number));
}

- (BOOL)isEqual:(id)object {
  return self == object ||
         ([object isKindOfClass:[NSNumber class]] && [self isEqualToNumber:object]);
}

- (Class)standInTypeClass {
  return [NSNumber class];
}

@end

@implementation NSNumber (NSNumberCreation)

// clang-format off
+ (NSNumber*)numberWithChar:(char)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithUnsignedChar:(unsigned char)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithShort:(short)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithUnsignedShort:(unsigned short)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithInt:(int)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithLong:(long)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithLongLong:(long long)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithFloat:(float)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithDouble:(double)value { return made(numberOf(value)); }
+ (NSNumber*)numberWithInteger:(NSInteger)value { return made(numberOf(value)); }
// clang-format on

+ (NSNumber*)numberWithBool:(BOOL)value {
  return (NSNumber*)(value ? kCFBooleanTrue : kCFBooleanFalse);
}

@end

@implementation StandInNumber
@end

@implementation __NSCFBoolean

- (Class)standInTypeClass {
  return [__NSCFBoolean class];
}

@end

@implementation NSNull

+ (NSNull*)null {
  static NSNull* const null = standin::immortal([[NSNull alloc] init]);
  return null;
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end
