#include <memory>

#include "platform/linux/system/PropertyList.h"
#include "tests/contract/PropertyListContract.h"

namespace quorvin::contract {
namespace {

class LinuxPropertyListWorld final : public PropertyListWorld {
 public:
  PropertyList& propertyList() override { return linuxPropertyList; }

 private:
  LinuxPropertyList linuxPropertyList;
};

const auto libplist = testing::Values(
    WorldKind<PropertyListWorld>{"Libplist", [] {
                                   return std::make_unique<LinuxPropertyListWorld>();
                                 }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, PropertyListContract, libplist, nameOfWorld);

}  // namespace quorvin::contract
