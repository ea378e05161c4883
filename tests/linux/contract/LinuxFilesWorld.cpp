#include <filesystem>
#include <memory>

#include "platform/linux/system/Files.h"
#include "tests/TemporaryFolder.h"
#include "tests/contract/FilesContract.h"

namespace quorvin::contract {
namespace {

class LinuxFilesWorld final : public FilesWorld {
 public:
  Files& files() override { return linuxFiles; }
  std::filesystem::path folder() override { return temporaryFolder.path(); }

 private:
  TemporaryFolder temporaryFolder;
  LinuxFiles linuxFiles{LinuxFiles::executableOfProcess()};
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, FilesContract,
                         testing::Values(WorldKind<FilesWorld>{
                             "Posix",
                             [] {
                               return std::make_unique<LinuxFilesWorld>();
                             }}),
                         nameOfWorld);

}  // namespace quorvin::contract
