#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvin {

// A folder of this test's own, removed with all its content.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "system_tests.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  [[nodiscard]] std::filesystem::path path(std::string_view name) const { return folder / name; }
  // The path of a file with this content.
  [[nodiscard]] std::string write(std::string_view name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }

 private:
  std::filesystem::path folder;
};

}  // namespace quorvin
