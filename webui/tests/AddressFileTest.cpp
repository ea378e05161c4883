#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "webui/AddressFile.h"

namespace quorvin::webui {
namespace {

namespace fs = std::filesystem;

constexpr std::uint16_t port = 8770;
constexpr const char* address = "http://127.0.0.1:8770/5eed/";

std::string contentOf(const fs::path& file) {
  std::ostringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
}

fs::perms permissionsOf(const fs::path& file) {
  return fs::symlink_status(file).permissions();
}

class AddressFileTest : public testing::Test {
 protected:
  AddressFileTest() : formerMask(umask(0)) {
    fs::create_directory(runtime);
    fs::permissions(runtime, fs::perms::owner_all);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    // Looked up once by the library.
    setenv("XDG_STATE_HOME", (root() / "state").c_str(), 1);
  }
  ~AddressFileTest() override {
    umask(formerMask);
    unsetenv("XDG_RUNTIME_DIR");
    fs::remove_all(root());
  }

  static const fs::path& root() {
    static const fs::path folder = [] {
      std::string pattern = fs::temp_directory_path() / "quorvin_address.XXXXXX";
      return fs::path(mkdtemp(pattern.data()));
    }();
    fs::create_directory(folder);
    return folder;
  }

  const fs::path runtime = root() / "runtime";
  const fs::path folder = runtime / "com.quorvin.support";
  const fs::path path = folder / "page-8770.html";

 private:
  mode_t formerMask;
};

TEST_F(AddressFileTest, LeadsToTheAddressWhoeverMayReadIt) {
  {
    const AddressFile file(port, address);
    EXPECT_EQ(file.path(), path);
    EXPECT_NE(contentOf(path).find("content=\"0; url=" + std::string(address) + "\""),
              std::string::npos);
    EXPECT_EQ(permissionsOf(path), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(permissionsOf(folder), fs::perms::owner_all);
  }
  EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(AddressFileTest, ClosesItsFolderToOthers) {
  fs::create_directory(folder);
  fs::permissions(folder, fs::perms::all);
  const AddressFile file(port, address);
  EXPECT_EQ(permissionsOf(folder), fs::perms::owner_all);
}

TEST_F(AddressFileTest, LiesElsewhereWhenTheRuntimeFolderIsOfNoUse) {
  const auto elsewhere = root() / "state" / "com.quorvin.support" / "page-8770.html";
  fs::permissions(runtime, fs::perms::owner_all | fs::perms::group_exec);
  EXPECT_EQ(AddressFile(port, address).path(), elsewhere);
  for (const auto& useless : {std::string(), std::string("runtime"), (root() / "none").string()}) {
    setenv("XDG_RUNTIME_DIR", useless.c_str(), 1);
    EXPECT_EQ(AddressFile(port, address).path(), elsewhere) << useless;
  }
  EXPECT_EQ(permissionsOf(root() / "state"), fs::perms::owner_all);
}

TEST_F(AddressFileTest, TakesThePlaceOfWhatLiesThereAndFollowsNoLink) {
  fs::create_directory(folder);
  const auto victim = root() / "victim";
  std::ofstream(victim) << "mine";
  for (const auto* name : {"page-8770.html", "page-8770.html.new"}) {
    fs::create_symlink(victim, folder / name);
  }
  const AddressFile file(port, address);
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path)));
  EXPECT_EQ(contentOf(victim), "mine");
  const AddressFile next(port, "http://127.0.0.1:8770/next/");
  EXPECT_EQ(contentOf(path).find("5eed"), std::string::npos);
}

TEST_F(AddressFileTest, WritesNothingThroughAFolderThatIsALink) {
  const auto victim = root() / "victim";
  fs::create_directory(victim);
  fs::create_directory_symlink(victim, folder);
  const AddressFile file(port, address);
  EXPECT_EQ(file.path(), "");
  EXPECT_TRUE(fs::is_empty(victim));
}

}  // namespace
}  // namespace quorvin::webui
