#include <memory>

#include "platform/linux/system/Text.h"
#include "tests/contract/TextContract.h"

namespace quorvin::contract {
namespace {

class LinuxTextWorld final : public TextWorld {
 public:
  Text& text() override { return linuxText; }

 private:
  LinuxText linuxText;
};

const auto icu = testing::Values(WorldKind<TextWorld>{"Icu", [] {
                                                        return std::make_unique<LinuxTextWorld>();
                                                      }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, TextContract, icu, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, TextCharactersContract, icu, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, LargeTextContract, icu, nameOfWorld);

}  // namespace quorvin::contract
