#pragma once

#include <cstddef>

#include "platform/Data.h"
#include "platform/Value.h"

namespace quorvin {

// The steps that the codecs write with: measure first, then append into a buffer of the exact
// size, so that large values are copied once and nothing is allocated twice. Both throw
// CodecError for a value that the format cannot say.

// The offset behind the value if it were written at `offset` of its message.
[[nodiscard]] std::size_t measureValue(const Value& value, std::size_t offset);

// `origin` is where in `out` the message starts, from which alignment counts.
void appendValue(const Value& value, std::size_t origin, Bytes& out);

}  // namespace quorvin
