#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace quorvin {

// Replaces the file at the path in one step: a file beside it is written, brought to the disk and
// given its name. Nothing but the old file is left after a failure, which is thrown as
// std::system_error. A new file's permissions are what the process' mask leaves of 0666; those of a
// regular file that was there are kept; a link is replaced.
void replaceFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes);

}  // namespace quorvin
