#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvin {

// A folder of a test's own, removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    // With no link on the way, as a Mac's own temporary folder has one.
    const auto parent = std::filesystem::canonical(std::filesystem::temp_directory_path());
    std::string pattern = parent / "quorvin_tests.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  [[nodiscard]] const std::filesystem::path& path() const { return folder; }
  [[nodiscard]] std::filesystem::path path(std::string_view name) const { return folder / name; }
  // The path of a file with this content.
  [[nodiscard]] std::string write(std::string_view name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }
  // The path of a program that runs this text with /bin/sh.
  [[nodiscard]] std::string writeScript(std::string_view name, std::string_view text) const {
    auto script = write(name, "#!/bin/sh\n" + std::string(text));
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    return script;
  }

 private:
  std::filesystem::path folder;
};

}  // namespace quorvin
