#pragma once

#include "platform/PropertyList.h"

namespace quorvin {

// As libplist writes them. Texts are in UTF-8; one with a NUL in it is refused, as XML has none.
class LinuxPropertyList final : public PropertyList {
 public:
  [[nodiscard]] Data xmlData(const Value& propertyList) override;
};

}  // namespace quorvin
