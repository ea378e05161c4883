#include "tests/contract/PropertyListContract.h"

namespace quorvin::contract {

// The fake remembers what it was given, and writes no XML.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PropertyListContract);

}  // namespace quorvin::contract
