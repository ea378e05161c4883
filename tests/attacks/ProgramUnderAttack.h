#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

#include "tests/e2e/link/HostHarness.h"

namespace quorvin {

// What the kernel says of a process or one of its threads in a line of its status file, without the
// spaces before it; empty when it says nothing.
[[nodiscard]] inline std::string statusLine(const std::filesystem::path& process,
                                            std::string_view name) {
  std::ifstream file(process / "status");
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with(std::string(name) + ":")) continue;
    const auto value = line.find_first_not_of(" \t", name.size() + 1);
    return value == std::string::npos ? "" : line.substr(value);
  }
  return {};
}

[[nodiscard]] inline std::filesystem::path folderOf(pid_t process) {
  return std::filesystem::path("/proc") / std::to_string(process);
}

// Where a descriptor of a process leads; empty when it is closed.
[[nodiscard]] inline std::string targetOf(pid_t process, int descriptor) {
  std::error_code closed;
  return std::filesystem::read_symlink(folderOf(process) / "fd" / std::to_string(descriptor),
                                       closed);
}

[[nodiscard]] inline bool comesTrue(const std::function<bool()>& condition,
                                    std::chrono::milliseconds within = std::chrono::seconds(10)) {
  const auto deadline = std::chrono::steady_clock::now() + within;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

[[nodiscard]] inline std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

}  // namespace quorvin
