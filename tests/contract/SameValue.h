#pragma once

#include "platform/Value.h"

namespace quorvin::contract {

// Equal as values that crossed a channel: of the same types, every double bit by bit, and maps
// whatever the order of their entries.
[[nodiscard]] bool isSameValue(const Value& a, const Value& b);

}  // namespace quorvin::contract
