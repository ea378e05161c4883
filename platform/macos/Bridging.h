#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Data.h"
#include "platform/Error.h"

namespace quorvin {

// Between the seam's plain types and Foundation's. Any thread.

// Every ill-formed byte becomes U+FFFD; never nil.
NSString* _Nonnull toNSString(std::string_view utf8);
// UTF-8; nil gives "". An unpaired surrogate, which UTF-8 cannot say, is replaced.
std::string toString(NSString* _Nullable text);
// Domain, code and localized description. An error that a failed call left out becomes one without
// a description.
Error toError(NSError* _Nullable error);
// For completion handlers, to which nil says that there was no error.
inline std::optional<Error> toOptionalError(NSError* _Nullable error) {
  if (error == nil) return std::nullopt;
  return toError(error);
}

// Visits a value: the object of one that is neither null nor made of others.
struct PlainObjectMaker {
  id _Nonnull operator()(bool value) const { return [NSNumber numberWithBool:value]; }
  id _Nonnull operator()(std::int64_t value) const { return [NSNumber numberWithLongLong:value]; }
  id _Nonnull operator()(double value) const { return [NSNumber numberWithDouble:value]; }
  id _Nonnull operator()(const std::string& value) const { return toNSString(value); }
};

// Shares the bytes, or copies them when they may still change; nil gives an empty run.
Data toData(NSData* _Nullable bytes);

}  // namespace quorvin
