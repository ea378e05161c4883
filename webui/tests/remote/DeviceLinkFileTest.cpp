#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/TemporaryFolder.h"
#include "webui/remote/DeviceLinkFile.h"
#include "webui/tests/TestLoop.h"
#include "webui/tests/trust/Hex.h"

namespace quorvin::webui {
namespace {

class DeviceLinkFileTest : public testing::Test {
 protected:
  static std::string textOf(const Invitation::DeviceLink& link) {
    return Invitation(systemRandom, link).link("x");
  }

  TemporaryFolder root;
  std::string settings = root.path("settings");
  DeviceLinkFile file{settings, systemRandom};
};

TEST_F(DeviceLinkFileTest, IsMadeOnce) {
  const auto link = textOf(file.read());
  EXPECT_EQ(link.size(), std::string("x#1.").size() + 22 + 1 + 43);
  EXPECT_EQ(textOf(DeviceLinkFile(settings, systemRandom).read()), link);
}

TEST_F(DeviceLinkFileTest, IsReplacedAsAWhole) {
  const auto before = file.read();
  file.replace();
  const auto after = file.read();
  EXPECT_NE(before.inbox, after.inbox);
  EXPECT_FALSE(std::ranges::equal(before.secret.bytes(), after.secret.bytes()));
}

TEST_F(DeviceLinkFileTest, IsNotGuessedFromADamagedFile) {
  PrivateFolder(settings).write("device-link", "short");
  EXPECT_THROW((void)file.read(), std::runtime_error);
}

TEST_F(DeviceLinkFileTest, TellsOfEveryReplacement) {
  int told = 0;
  file.watch([&] { ++told; });
  file.replace();
  EXPECT_TRUE(runUntil([&] { return told == 1; }));
  DeviceLinkFile(settings, systemRandom).replace();
  EXPECT_TRUE(runUntil([&] { return told == 2; }));
}

}  // namespace
}  // namespace quorvin::webui
