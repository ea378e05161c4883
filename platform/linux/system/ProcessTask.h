#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quorvin {

// Runs a program by its path, with this process' environment and nowhere to write to, and waits for
// its end. Returns its exit status, or the number of the signal that ended it. Throws an Error when
// it cannot be started. Any thread.
std::int32_t runProgram(const std::string& path, const std::vector<std::string>& arguments);

}  // namespace quorvin
