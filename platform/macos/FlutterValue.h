#pragma once

#import <Foundation/Foundation.h>

#include "platform/Value.h"

namespace quorvin {

// Between the seam's values and the objects that Flutter's standard codec reads and writes. Any
// thread.

// nil for null, which inside lists and maps is NSNull. Integers are 64 bits wide. The bytes of a
// Data are not copied. Where a map repeats a key, the last entry counts. Since a dictionary copies
// its keys, which typed data cannot be, a key of bytes becomes an NSData and one of numbers an
// NSArray.
id _Nullable toObject(const Value& value);

// Null for nil, NSNull, objects of any class that the codec does not know, and for what lies deeper
// than messageNestingMax. Unsigned integers above INT64_MAX keep their low 64 bits. Bytes are
// shared, not copied. Entries of a map come in no particular order.
Value toValue(id _Nullable object);

}  // namespace quorvin
