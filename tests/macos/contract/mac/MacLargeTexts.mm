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

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, LargeTextContract,
                         testing::Values(WorldKind<TextWorld>{
                             "Foundation", [] { return std::make_unique<MacTextWorld>(); }}),
                         nameOfWorld);

}  // namespace quorvin::contract
