#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "platform/Error.h"
#include "platform/linux/system/UserDefaults.h"
#include "tests/ChildProgram.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {
namespace {

class DefaultsFileTest : public testing::Test {
 protected:
  LinuxUserDefaults open() const { return LinuxUserDefaults(file()); }
  [[nodiscard]] std::string file() const { return folder.path("config/defaults.ini"); }
  [[nodiscard]] std::string content() const {
    std::ostringstream text;
    text << std::ifstream(file()).rdbuf();
    return text.str();
  }
  void start(const std::string& text) const {
    std::filesystem::create_directories(folder.path("config"));
    (void)folder.write("config/defaults.ini", text);
  }
  [[nodiscard]] std::vector<std::string> damagedFiles() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path("config"))) {
      const auto name = entry.path().filename().string();
      if (name.starts_with("defaults.ini.damaged-")) found.push_back(entry.path());
    }
    return found;
  }
  // Exit status of a process of its own that does the work.
  static int inAnotherProcess(const std::function<int()>& work) {
    const pid_t child = forkChild();
    if (child == 0) _exit(work());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  TemporaryFolder folder;
};

TEST_F(DefaultsFileTest, CountsAChangeHereAtOnceAndElsewhereOnceItIsStored) {
  auto writer = open();
  writer.setBool(true, "on");
  writer.setString("Büro\tMac ", "name");
  EXPECT_TRUE(writer.boolForKey("on"));
  EXPECT_EQ(open().stringForKey("name"), std::nullopt);
  writer.synchronize();
  EXPECT_TRUE(open().boolForKey("on"));
  EXPECT_EQ(open().stringForKey("name"), "Büro\tMac ");
}

TEST_F(DefaultsFileTest, RemovesAKey) {
  start("[defaults]\nname=old\nother=1\n");
  auto writer = open();
  writer.removeObject("name");
  writer.removeObject("absent");
  EXPECT_EQ(writer.stringForKey("name"), std::nullopt);
  writer.synchronize();
  EXPECT_EQ(open().stringForKey("name"), std::nullopt);
  EXPECT_EQ(open().stringForKey("other"), "1");
}

TEST_F(DefaultsFileTest, StoresAnExplicitFalse) {
  auto writer = open();
  writer.setBool(false, "on");
  writer.synchronize();
  EXPECT_EQ(open().stringForKey("on"), "false");
}

TEST_F(DefaultsFileTest, KeepsWhatOthersPutThere) {
  start("# mine\n[defaults]\nother=1\n\n[elsewhere]\nkey=2\n");
  auto writer = open();
  writer.setString("new", "name");
  start("# mine\n[defaults]\nother=3\n\n[elsewhere]\nkey=2\n");
  writer.synchronize();
  EXPECT_THAT(content(), testing::HasSubstr("# mine"));
  EXPECT_THAT(content(), testing::HasSubstr("[elsewhere]\nkey=2"));
  EXPECT_EQ(open().stringForKey("other"), "3");
}

TEST_F(DefaultsFileTest, LosesNothingWhenManyProcessesStoreAtOnce) {
  constexpr int writers = 4;
  constexpr int keysEach = 20;
  std::vector<pid_t> children;
  for (int writer = 0; writer < writers; ++writer) {
    const pid_t child = forkChild();
    if (child == 0) {
      for (int key = 0; key < keysEach; ++key) {
        auto defaults = open();  // whoever has stored keeps the lock
        defaults.setString("x", std::to_string(writer) + "-" + std::to_string(key));
        defaults.synchronize();
      }
      _exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  for (int writer = 0; writer < writers; ++writer) {
    for (int key = 0; key < keysEach; ++key) {
      EXPECT_EQ(open().stringForKey(std::to_string(writer) + "-" + std::to_string(key)), "x");
    }
  }
}

TEST_F(DefaultsFileTest, PutsADamagedFileAsideAndSaysSo) {
  for (const std::string damaged : {"key=1\n[defaults]\n", "\x01\x02", "[defaults\n"}) {
    start(damaged);
    auto writer = open();
    writer.setString("new", "name");
    testing::internal::CaptureStderr();
    writer.synchronize();
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(open().stringForKey("name"), "new");
    const auto aside = damagedFiles();
    ASSERT_EQ(aside.size(), 1U);
    EXPECT_THAT(said, testing::HasSubstr(aside.front()));
    std::ostringstream kept;
    kept << std::ifstream(aside.front()).rdbuf();
    EXPECT_EQ(kept.str(), damaged);
    std::filesystem::remove(aside.front());
  }
}

TEST_F(DefaultsFileTest, IsForItsOwnerOnlyWhateverTheMaskSaysAndTheFileBefore) {
  using std::filesystem::perms;
  const auto old = umask(0);
  for (const bool isThere : {false, true}) {
    if (isThere) {
      start("[defaults]\nname=old\n");
      std::filesystem::permissions(file(), perms::all);
      std::filesystem::permissions(folder.path("config"), perms::all);
    }
    auto writer = open();
    writer.setString("new", "name");
    writer.synchronize();
    EXPECT_EQ(std::filesystem::status(file()).permissions(),
              perms::owner_read | perms::owner_write);
    EXPECT_EQ(std::filesystem::status(folder.path("config")).permissions(), perms::owner_all);
    std::filesystem::remove_all(folder.path("config"));
  }
  umask(old);
}

TEST_F(DefaultsFileTest, WritesNothingThatIsSoAlready) {
  auto writer = open();
  writer.removeObject("name");
  writer.removeObject("on");
  writer.synchronize();
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

  start("[defaults]\nname=a b\n");
  writer.setString("a b", "name");
  writer.removeObject("on");
  writer.synchronize();
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("config")), {}), 1);
  EXPECT_EQ(content(), "[defaults]\nname=a b\n");
}

TEST_F(DefaultsFileTest, ReplacesBytesThatAreNoText) {
  auto writer = open();
  writer.setString(
      "a\xFF"
      "b",
      "name");
  writer.synchronize();
  EXPECT_EQ(open().stringForKey("name"), "a\uFFFDb");
}

TEST_F(DefaultsFileTest, RefusesMoreThanItWouldReadAgain) {
  start("[defaults]\nname=old\n");
  auto writer = open();
  writer.setString(std::string(1 << 20, 'x'), "name");
  EXPECT_THROW(writer.synchronize(), Error);
  EXPECT_EQ(content(), "[defaults]\nname=old\n");
}

TEST_F(DefaultsFileTest, ReportsAFolderThatCannotBe) {
  LinuxUserDefaults writer(folder.write("file", "") + "/config/defaults.ini");
  writer.setBool(true, "on");
  try {
    writer.synchronize();
    FAIL() << "stored where there is no folder";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain, "com.quorvin.support.posix");
    EXPECT_THAT(error.localizedDescription,
                testing::HasSubstr("/file/config could not be created"));
  }
}

TEST_F(DefaultsFileTest, KeepsTheOldFileWhenTheDiskIsFull) {
  const std::string old = "[defaults]\nname=old\n";
  start(old);
  EXPECT_EQ(inAnotherProcess([this] {
              std::signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{64, 64};  // no file of this process may grow beyond
              setrlimit(RLIMIT_FSIZE, &limit);
              auto writer = open();
              writer.setString(std::string(1000, 'x'), "name");
              try {
                writer.synchronize();
              } catch (const Error& error) {
                return error.code == EFBIG ? 42 : 2;
              }
              return 1;
            }),
            42);
  EXPECT_EQ(content(), old);
  EXPECT_THAT(damagedFiles(), testing::IsEmpty());
}

}  // namespace
}  // namespace quorvin
