#include <memory>

#include "platform/macos/PropertyList.h"
#include "tests/contract/PropertyListContract.h"

namespace quorvin::contract {
namespace {

class MacPropertyListWorld final : public PropertyListWorld {
 public:
  PropertyList& propertyList() override { return macPropertyList; }

 private:
  MacPropertyList macPropertyList;
};

const auto foundation = testing::Values(WorldKind<PropertyListWorld>{
    "Foundation", [] { return std::make_unique<MacPropertyListWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, PropertyListContract, foundation, nameOfWorld);

}  // namespace quorvin::contract
