#pragma once

#include <string>

#include "platform/PropertyList.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

class PropertyListWorld {
 public:
  PropertyListWorld() = default;
  PropertyListWorld(const PropertyListWorld&) = delete;
  PropertyListWorld& operator=(const PropertyListWorld&) = delete;
  virtual ~PropertyListWorld() = default;

  virtual PropertyList& propertyList() = 0;
};

class PropertyListContract : public Contract<PropertyListWorld> {
 protected:
  std::string xml(const Value& value);
  // The part inside the plist element, without what only makes it pleasant to read.
  std::string content(const Value& value);
  bool isRefused(const Value& value);
};

}  // namespace quorvin::contract
