#include <filesystem>
#include <memory>

#include "platform/macos/Files.h"
#include "tests/TemporaryFolder.h"
#include "tests/contract/FilesContract.h"

namespace quorvin::contract {
namespace {

class MacFilesWorld final : public FilesWorld {
 public:
  Files& files() override { return macFiles; }
  std::filesystem::path folder() override { return temporaryFolder.path(); }

 private:
  TemporaryFolder temporaryFolder;
  MacFiles macFiles;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, FilesContract,
                         testing::Values(WorldKind<FilesWorld>{
                             "Foundation", [] { return std::make_unique<MacFilesWorld>(); }}),
                         nameOfWorld);

}  // namespace quorvin::contract
