#pragma once

#include <cstddef>

namespace quorvin::FailingMemory {

// Lets realloc have so many more successes in the program under test, and then fail.
void failAfter(std::size_t successes);
// Back to normal. Whether it has failed.
[[nodiscard]] bool recover();

}  // namespace quorvin::FailingMemory
