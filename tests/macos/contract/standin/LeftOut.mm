#include "tests/contract/TextContract.h"
#include "tests/contract/VideoEncoderContract.h"

namespace quorvin::contract {

// The stand-in looks at a whole text for each of its characters, which says nothing about a Mac.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LargeTextContract);
// The stand-in encodes nothing that could be decoded.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(VideoStreamContract);

}  // namespace quorvin::contract
