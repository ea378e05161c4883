#include <memory>

#include "tests/contract/TextContract.h"
#include "tests/fakes/FakeSettings.h"

namespace quorvin::contract {
namespace {

class FakeTextWorld final : public TextWorld {
 public:
  Text& text() override { return fake; }

 private:
  fakes::FakeText fake;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, TextContract,
                         testing::Values(WorldKind<TextWorld>{
                             "CodePoints",
                             [] {
                               return std::make_unique<FakeTextWorld>();
                             }}),
                         nameOfWorld);
// The fake takes every code point for a character.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TextCharactersContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LargeTextContract);

}  // namespace quorvin::contract
