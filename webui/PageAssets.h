#pragma once

#include <optional>
#include <string_view>

namespace quorvin::webui {

struct PageAsset {
  const char* type;          // the value of the Content-Type header
  std::string_view content;  // lives as long as the program
};

// The file of the page with this name ("" is the page itself), as built into the program.
[[nodiscard]] std::optional<PageAsset> findPageAsset(std::string_view name);

}  // namespace quorvin::webui
