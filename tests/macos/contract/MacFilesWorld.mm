#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/macos/Files.h"
#include "tests/contract/FilesContract.h"

namespace quorvin::contract {
namespace {

class MacFilesWorld final : public FilesWorld {
 public:
  MacFilesWorld() {
    // With no link on the way, as a Mac's own temporary folder has one.
    const auto parent = std::filesystem::canonical(std::filesystem::temp_directory_path());
    std::string pattern = parent / "contract_tests.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    root = pattern;
  }
  ~MacFilesWorld() override {
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
  }

  Files& files() override { return macFiles; }
  std::filesystem::path folder() override { return root; }

 private:
  std::filesystem::path root;
  MacFiles macFiles;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, FilesContract,
                         testing::Values(WorldKind<FilesWorld>{
                             "Foundation", [] { return std::make_unique<MacFilesWorld>(); }}),
                         nameOfWorld);

}  // namespace quorvin::contract
