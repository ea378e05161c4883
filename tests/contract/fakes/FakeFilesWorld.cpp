#include <filesystem>
#include <memory>

#include "tests/contract/FilesContract.h"
#include "tests/fakes/FakeFiles.h"

namespace quorvin::contract {
namespace {

class FakeFilesWorld final : public FilesWorld {
 public:
  FakeFilesWorld() { fake.addDirectory(folder()); }

  Files& files() override { return fake; }
  void makeLink(const std::filesystem::path& link,
                const std::filesystem::path& destination) override {
    fake.addLink(link, destination);
  }
  std::filesystem::path folder() override { return "/tree"; }

 private:
  fakes::FakeFiles fake;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, FilesContract,
                         testing::Values(WorldKind<FilesWorld>{
                             "Memory",
                             [] {
                               return std::make_unique<FakeFilesWorld>();
                             }}),
                         nameOfWorld);

}  // namespace quorvin::contract
