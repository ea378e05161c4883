#include "tests/contract/TextContract.h"

namespace quorvin::contract {

// The stand-in looks at a whole text for each of its characters, which says nothing about a Mac.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LargeTextContract);

}  // namespace quorvin::contract
