#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace quorvin {

// The whole content of a regular file, or nothing when it cannot be read, is something else than a
// regular file or holds more than `bytesMax`. Any thread.
[[nodiscard]] std::optional<std::string> readTextFile(const std::string& path,
                                                      std::size_t bytesMax);

}  // namespace quorvin
