#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/linux/system/Permissions.h"
#include "tests/TemporaryFolder.h"
#include "tests/contract/PermissionsContract.h"
#include "tests/fakes/FakeProcess.h"
#include "tests/linux/system/XServer.h"

namespace quorvin::contract {
namespace {

// What the user allows is what the X server can do.
class LinuxPermissionsWorld final : public PermissionsWorld {
 public:
  void decide(bool screenRecording, bool accessibility) override {
    if (accessibility && !screenRecording) throw std::logic_error("X11 cannot do that");
    PermissionsEnvironment environment;
    environment.machineInfoPath = folder.path("machine-info");
    if (screenRecording) {
      using Options = std::vector<std::string>;
      server.emplace(accessibility ? Options{} : Options{"-extension", "XTEST"});
      environment.display = server->display();
    }
    linuxPermissions.emplace(process, environment);
  }
  void nameComputer(const std::optional<std::string>& name) override {
    (void)folder.write("machine-info", "PRETTY_HOSTNAME=" + quoted(name.value()) + "\n");
  }
  Permissions& permissions() override { return linuxPermissions.value(); }

 private:
  // As a shell and machine-info(5) quote.
  static std::string quoted(const std::string& name) {
    std::string text = "\"";
    for (const char letter : name) {
      if (letter == '"' || letter == '\\' || letter == '$' || letter == '`') text += '\\';
      text += letter;
    }
    return text + "\"";
  }

  TemporaryFolder folder;
  fakes::FakeProcess process;
  std::optional<XServer> server;
  std::optional<LinuxPermissions> linuxPermissions;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, PermissionsContract,
                         testing::Values(WorldKind<PermissionsWorld>{
                             "X11",
                             [] {
                               return std::make_unique<LinuxPermissionsWorld>();
                             }}),
                         nameOfWorld);
// Who may work an X server may see it.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SeparatePermissionsContract);
// Every computer has a host name.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NamelessComputerContract);

}  // namespace quorvin::contract
