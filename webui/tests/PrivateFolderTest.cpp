#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "platform/unix/PrivateFolder.h"

namespace quorvin::webui {
namespace {

namespace fs = std::filesystem;

class PrivateFolderTest : public testing::Test {
 protected:
  PrivateFolderTest() : formerMask(umask(0)) {}
  ~PrivateFolderTest() override {
    umask(formerMask);
    fs::remove_all(root);
  }
  static fs::path makeRoot() {
    std::string pattern = fs::temp_directory_path() / "quorvin_private.XXXXXX";
    return mkdtemp(pattern.data());
  }

  mode_t formerMask;
  fs::path root = makeRoot();
  fs::path path = root / "made" / "folder";
  PrivateFolder folder{path};
};

TEST_F(PrivateFolderTest, KeepsWhatIsWrittenFromOthers) {
  folder.write("file", "one");
  folder.write("file", "two");
  EXPECT_EQ(folder.read("file"), "two");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(path / "file").permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  folder.remove("file");
  EXPECT_EQ(folder.read("file"), "");
  EXPECT_TRUE(fs::is_empty(path));
}

TEST_F(PrivateFolderTest, ClosesAFolderThatIsOpen) {
  fs::permissions(path, fs::perms::all);
  EXPECT_NO_THROW(PrivateFolder{path});
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
}

TEST_F(PrivateFolderTest, ReadsNothingThatOthersMayHaveWritten) {
  folder.write("file", "mine");
  fs::permissions(path / "file", fs::perms::group_read, fs::perm_options::add);
  EXPECT_THROW((void)folder.read("file"), std::system_error);
  fs::create_symlink("/etc/passwd", path / "link");
  EXPECT_THROW((void)folder.read("link"), std::system_error);
  fs::create_directory(path / "below");
  EXPECT_THROW((void)folder.read("below"), std::system_error);
}

TEST_F(PrivateFolderTest, SaysWhyThereIsNone) {
  std::ofstream(root / "file") << "x";
  try {
    const PrivateFolder none(root / "file");
    FAIL();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::not_a_directory);
  }
}

}  // namespace
}  // namespace quorvin::webui
