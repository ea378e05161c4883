#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Text.h"

namespace quorvin {

// ICU's rules for written language, untailored by any locale.
class LinuxText final : public Text {
 public:
  // Ill-formed sequences count as replacement characters and are handed back as they came.
  [[nodiscard]] std::string prefix(std::string_view utf8, std::size_t count) override;
};

}  // namespace quorvin
