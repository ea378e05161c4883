#include <memory>

#include "platform/macos/Text.h"
#include "tests/contract/TextContract.h"

namespace quorvin::contract {
namespace {

class MacTextWorld final : public TextWorld {
 public:
  Text& text() override { return macText; }

 private:
  MacText macText;
};

const auto foundation = testing::Values(
    WorldKind<TextWorld>{"Foundation", [] { return std::make_unique<MacTextWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, TextContract, foundation, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, TextCharactersContract, foundation, nameOfWorld);

}  // namespace quorvin::contract
