#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "platform/linux/system/AccountLock.h"
#include "platform/linux/system/Files.h"
#include "platform/linux/system/Process.h"
#include "platform/linux/system/UserDefaults.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {
namespace {

namespace fs = std::filesystem;

class AccountLockTest : public testing::Test {
 protected:
  [[nodiscard]] fs::path path() const { return folder.path("config/settings/defaults.ini.lock"); }
  void makeFile() const {
    fs::create_directories(path().parent_path());
    (void)folder.write("config/settings/defaults.ini.lock", "");
  }
  // Whether somebody holds it.
  [[nodiscard]] bool isTaken() const {
    const FileDescriptor file(open(path().c_str(), O_RDONLY | O_CLOEXEC));
    return file.isOpen() && flock(file.get(), LOCK_EX | LOCK_NB) != 0;
  }
  static unsigned modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 0777U;
  }

  TemporaryFolder folder;
};

TEST_F(AccountLockTest, IsHeldUntilItsEnd) {
  {
    AccountLock lock(path());
    lock.take();
    lock.take();
    EXPECT_TRUE(isTaken());
  }
  EXPECT_FALSE(isTaken());
}

TEST_F(AccountLockTest, IsPrivateWithItsFolders) {
  AccountLock(path()).take();
  EXPECT_EQ(modeOf(path()), 0600U);
  EXPECT_EQ(modeOf(path().parent_path()), 0700U);
  EXPECT_EQ(modeOf(path().parent_path().parent_path()), 0700U);
}

TEST_F(AccountLockTest, MakesAFolderPrivateThatWasNot) {
  makeFile();
  for (const auto& [before, after] : {std::pair(0777U, 0700U), std::pair(0555U, 0500U)}) {
    ASSERT_EQ(chmod(path().parent_path().c_str(), before), 0);
    AccountLock(path()).take();
    EXPECT_EQ(modeOf(path().parent_path()), after);
  }
}

TEST_F(AccountLockTest, LeavesNoTraceWhereNobodyHasTakenIt) {
  AccountLock lock(path());
  lock.takeIfThere();
  EXPECT_TRUE(fs::is_empty(folder.path()));
  lock.take();
  EXPECT_TRUE(isTaken());
}

TEST_F(AccountLockTest, IsTakenWhereItIsThere) {
  makeFile();
  AccountLock lock(path());
  lock.takeIfThere();
  EXPECT_TRUE(isTaken());
}

// What came before was done as if nobody else were there.
TEST_F(AccountLockTest, IsRefusedToWhoeverBeganBeforeItWasMade) {
  AccountLock lock(path());
  lock.takeIfThere();
  makeFile();
  try {
    lock.take();
    FAIL() << "taken";
  } catch (const Error& error) {
    EXPECT_NE(error.localizedDescription.find(path().string()), std::string::npos);
  }
  EXPECT_FALSE(isTaken());
}

TEST_F(AccountLockTest, IsTakenByWhateverChangesWhatBelongsTogether) {
  using Change = std::function<void(LinuxUserDefaults&, Files&, Process&)>;
  const std::vector<Change> changes = {
      [](LinuxUserDefaults& defaults, Files&, Process&) {
        defaults.setBool(true, "on");
        defaults.synchronize();
      },
      [this](LinuxUserDefaults&, Files& files, Process&) {
        files.createDirectory(folder.path("a"));
      },
      [this](LinuxUserDefaults&, Files& files, Process&) {
        files.writeAtomically({}, folder.path("file"));
      },
      [this](LinuxUserDefaults&, Files& files, Process&) { files.removeItem(folder.path("file")); },
      [](LinuxUserDefaults&, Files&, Process& process) {
        EXPECT_EQ(process.runTask("/bin/launchctl", {}), 0);
      }};
  for (const auto& change : changes) {
    LinuxUserDefaults defaults(path().parent_path() / "defaults.ini");
    LinuxFiles files({}, &defaults.lock());
    LinuxProcess process({}, {}, "/bin/true", &defaults.lock());
    change(defaults, files, process);
    EXPECT_TRUE(isTaken()) << &change - changes.data();
  }
  EXPECT_FALSE(isTaken());
}

TEST_F(AccountLockTest, IsNotTakenToRead) {
  makeFile();
  LinuxUserDefaults defaults(path().parent_path() / "defaults.ini");
  LinuxFiles files({}, &defaults.lock());
  LinuxProcess process({}, {}, "/bin/true", &defaults.lock());
  (void)defaults.boolForKey("on");
  (void)files.contents(path());
  (void)files.fileExists(path());
  (void)process.runTask("/bin/true", {});
  EXPECT_FALSE(isTaken());
}

}  // namespace
}  // namespace quorvin
