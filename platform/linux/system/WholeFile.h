#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace quorvin {

// The whole content of a regular file, or nothing when it cannot be read, is something else than a
// regular file or holds more than `bytesMax`. Any thread.
[[nodiscard]] std::optional<std::string> readRegularFile(const std::filesystem::path& path,
                                                         std::size_t bytesMax);

// Replaces the file at the path in one step: a file beside it is written, brought to the disk and
// given its name. Nothing but the old file is left after a failure, which is thrown as
// std::system_error. A link is replaced. The file gets this mode; without one, those permissions
// that a regular file there had, or else what the process' mask leaves of 0644.
void replaceFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes,
                 std::optional<mode_t> mode = {});

}  // namespace quorvin
