#pragma once

#import <Foundation/Foundation.h>

#include <cstddef>
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

// Shares the bytes, or copies them when they may still change; nil gives an empty run.
Data toData(NSData* _Nullable bytes);

// Bytes of the well-formed character that the text begins with (RFC 3629): 1 to 4, or 0 when it is
// empty or begins with an ill-formed byte.
std::size_t utf8CharacterLength(std::string_view text);

}  // namespace quorvin
