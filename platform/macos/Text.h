#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Text.h"

namespace quorvin {

// Foundation's composed character sequences, with CR LF counted as the one character it is in
// UAX #29.
class MacText final : public Text {
 public:
  // An ill-formed byte counts as a replacement character and is handed back as it came.
  [[nodiscard]] std::string prefix(std::string_view utf8, std::size_t count) override;
};

}  // namespace quorvin
