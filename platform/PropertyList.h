#pragma once

#include "platform/Data.h"
#include "platform/Interface.h"
#include "platform/Value.h"

namespace quorvin {

// Writes property lists. Any thread.
class PropertyList : public Interface {
 public:
  // A complete XML property list, version 1.0
  // (http://www.apple.com/DTDs/PropertyList-1.0.dtd), of maps with string keys, lists, strings,
  // booleans, numbers and data. Throws an Error when the value holds anything else.
  [[nodiscard]] virtual Data xmlData(const Value& propertyList) = 0;
};

}  // namespace quorvin
