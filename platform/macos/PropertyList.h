#pragma once

#include "platform/PropertyList.h"

namespace quorvin {

class MacPropertyList final : public PropertyList {
 public:
  Data xmlData(const Value& propertyList) override;
};

}  // namespace quorvin
