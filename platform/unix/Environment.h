#pragma once

#include <cstdlib>
#include <string>

namespace quorvin {

// Empty when it is not set.
[[nodiscard]] inline std::string environmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

}  // namespace quorvin
