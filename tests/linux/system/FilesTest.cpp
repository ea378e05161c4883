#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Error.h"
#include "platform/linux/system/Files.h"
#include "tests/ChildProgram.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {
namespace {

namespace fs = std::filesystem;

std::vector<std::uint8_t> bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

std::optional<std::string> textOf(Files& files, const fs::path& path) {
  const auto data = files.contents(path);
  if (!data) return {};
  return std::string(data->bytes().begin(), data->bytes().end());
}

// Of the failure that the work ends in; 0 when it ends in none.
std::int64_t failureCode(const std::function<void()>& work) {
  try {
    work();
  } catch (const Error& error) {
    EXPECT_FALSE(error.domain.empty());
    EXPECT_FALSE(error.localizedDescription.empty());
    return error.code;
  }
  return 0;
}

class LinuxFilesTest : public testing::Test {
 protected:
  static mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
  }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(folder.path(""))) {
      all.push_back(entry.path().filename());
    }
    return all;
  }
  // The work's exit status in a process of its own, whose limits and folders may be spoilt.
  static int inChild(const std::function<bool()>& work) {
    const auto child = forkChild();
    if (child == 0) _exit(work() ? 0 : 1);
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  TemporaryFolder folder;
  LinuxFiles files{fs::path("/opt/x/program")};
};

TEST_F(LinuxFilesTest, FindsTheBundleThatTheExecutableIsIn) {
  LinuxFiles bundled(fs::path("/home/me/Applications/A.app/Contents/Linux/program"));
  EXPECT_EQ(bundled.bundlePath(), "/home/me/Applications/A.app");
  EXPECT_EQ(bundled.executablePath(), "/home/me/Applications/A.app/Contents/Linux/program");
  EXPECT_EQ(files.bundlePath(), "/opt/x");
  EXPECT_EQ(LinuxFiles(fs::path("/opt/Contents/program")).bundlePath(), "/opt/Contents");
  EXPECT_EQ(LinuxFiles(fs::path("/opt/Linux/program")).bundlePath(), "/opt/Linux");
}

// The kernel names the executable with all links resolved.
class InstalledThroughLinksTest : public LinuxFilesTest {
 protected:
  InstalledThroughLinksTest() {
    fs::create_directories(folder.path("disk/home/Applications/Tools/A.app"));
    fs::create_directories(folder.path("disk/elsewhere/B.app"));
    fs::create_directory_symlink("disk/home", folder.path("home"));
  }
  // Where a bundle of this path, as the kernel names it, lies for somebody with that home.
  [[nodiscard]] std::string bundle(const std::string& path, const fs::path& home) const {
    const char* before = std::getenv("HOME");
    const std::string saved = before == nullptr ? "" : before;
    setenv("HOME", home.c_str(), 1);
    LinuxFiles program(folder.path(path) / "Contents/Linux/program");
    auto found = program.bundlePath().string();
    const auto ownFolder = program.homeDirectory().string() + "/Applications/";
    setenv("HOME", saved.c_str(), 1);
    if (found.starts_with(ownFolder)) return "own " + found.substr(ownFolder.size());
    return found;
  }
};

TEST_F(InstalledThroughLinksTest, IsInTheUsersOwnFolderHoweverTheHomeIsReached) {
  const auto app = "disk/home/Applications/Tools/A.app";
  for (const auto* home : {"disk/home", "home", "home/", "disk//home/.", "disk/elsewhere/../home",
                           "home/../elsewhere/../home/"}) {
    EXPECT_EQ(bundle(app, folder.path(home)), "own Tools/A.app") << home;
  }
}

TEST_F(InstalledThroughLinksTest, IsInAnApplicationsFolderThatIsALinkToAnotherDisk) {
  fs::create_directory(folder.path("me"));
  fs::create_directory_symlink(folder.path("disk/elsewhere"), folder.path("me/Applications"));
  EXPECT_EQ(bundle("disk/elsewhere/B.app", folder.path("me")), "own B.app");
}

TEST_F(InstalledThroughLinksTest, IsNotThereByALinkInsideTheFolder) {
  fs::create_directory_symlink(folder.path("disk/elsewhere"),
                               folder.path("disk/home/Applications/elsewhere"));
  fs::create_directory_symlink(folder.path("disk/elsewhere/B.app"),
                               folder.path("disk/home/Applications/B.app"));
  for (const auto* home : {"disk/home", "home"}) {
    EXPECT_EQ(bundle("disk/elsewhere/B.app", folder.path(home)),
              folder.path("disk/elsewhere/B.app"))
        << home;
  }
}

TEST_F(InstalledThroughLinksTest, IsNotTheFolderItselfNorBesideIt) {
  fs::create_directories(folder.path("disk/home/ApplicationsOld/A.app"));
  EXPECT_EQ(bundle("disk/home/ApplicationsOld/A.app", folder.path("home")),
            folder.path("disk/home/ApplicationsOld/A.app"));
  EXPECT_EQ(bundle("disk/home/Applications", folder.path("home")),
            folder.path("disk/home/Applications"));
}

TEST_F(LinuxFilesTest, StandardisesTheHomeFolderAndResolvesLinksOnlyBeforeDots) {
  fs::create_directories(folder.path("real/me"));
  fs::create_directory_symlink("real/me", folder.path("link"));
  const auto homeIs = [&](const fs::path& told, const fs::path& expected) {
    return inChild([&] {
      setenv("HOME", told.c_str(), 1);
      return files.homeDirectory() == expected;
    });
  };
  EXPECT_EQ(homeIs(folder.path("link/./"), folder.path("link")), 0);
  EXPECT_EQ(homeIs(folder.path("link/../me"), folder.path("real/me")), 0);
}

TEST_F(LinuxFilesTest, HasNoBundleWithoutAnExecutable) {
  LinuxFiles lost(std::nullopt);
  EXPECT_EQ(lost.bundlePath(), fs::path());
  EXPECT_EQ(lost.executablePath(), std::nullopt);
}

TEST_F(LinuxFilesTest, KnowsTheExecutableOfTheProcess) {
  const auto executable = LinuxFiles::executableOfProcess();
  ASSERT_TRUE(executable.has_value());
  EXPECT_EQ(executable->filename(), "system_tests");
  EXPECT_TRUE(executable->is_absolute());
}

// Also run by the next test, in a process that was started through a link.
TEST(StartedProcessTest, KnowsHowItWasStarted) {
  const auto executable = LinuxFiles::executableOfProcess().value();
  EXPECT_TRUE(fs::equivalent(executable, "/proc/self/exe"));
  const auto* expected = std::getenv("QUORVIN_EXPECTED_EXECUTABLE");
  EXPECT_EQ(executable, expected != nullptr ? fs::path(expected) : executable);
}

TEST_F(LinuxFilesTest, KnowsTheLinkThroughWhichTheProcessWasStarted) {
  const auto program = *LinuxFiles::executableOfProcess();
  const auto link = folder.path("Applications");
  fs::create_directory_symlink(program.parent_path(), link);
  const auto through = link / program.filename();
  const auto test = "--gtest_filter=StartedProcessTest.*";
  const auto startedAs = [&](const fs::path& name, const fs::path& expected) {
    return inChild([&] {
      setenv("QUORVIN_EXPECTED_EXECUTABLE", expected.c_str(), 1);
      return execl(name.c_str(), name.c_str(), test, nullptr) == 0;
    });
  };
  EXPECT_EQ(startedAs(through, through), 0);
  EXPECT_EQ(startedAs(link / "." / program.filename(), through), 0);
  EXPECT_EQ(startedAs(through.lexically_relative(fs::current_path()), program), 0);
}

TEST_F(LinuxFilesTest, TakesTheHomeFolderFromTheEnvironmentOrTheUserDatabase) {
  EXPECT_EQ(inChild([&] {
              setenv("HOME", "/home/told", 1);
              return files.homeDirectory() == "/home/told" &&
                     files.homeDirectoryForCurrentUser() == "/home/told";
            }),
            0);
  EXPECT_EQ(inChild([&] {
              unsetenv("HOME");
              return files.homeDirectory().is_absolute();
            }),
            0);
  EXPECT_EQ(inChild([&] {
              setenv("HOME", "not absolute", 1);
              return files.homeDirectory().is_absolute();
            }),
            0);
}

TEST_F(LinuxFilesTest, TakesTheDesktopFromTheUsersFolderList) {
  const auto config = folder.path("config");
  fs::create_directory(config);
  const auto desktopIs = [&](const fs::path& expected) {
    return inChild([&] {
      setenv("HOME", folder.path("").c_str(), 1);
      setenv("XDG_CONFIG_HOME", config.c_str(), 1);
      return files.desktopDirectory() == expected;
    });
  };
  EXPECT_EQ(desktopIs(folder.path("Desktop")), 0);
  (void)folder.write("config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
  EXPECT_EQ(desktopIs(folder.path("Schreibtisch")), 0);
}

TEST_F(LinuxFilesTest, GivesANewFileTheProcessUsualPermissions) {
  const auto path = folder.path("file");
  EXPECT_EQ(inChild([&] {
              umask(027);
              files.writeAtomically(bytesOf("x"), path);
              return true;
            }),
            0);
  EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(LinuxFilesTest, LetsOnlyTheOwnerWriteToWhatIsNew) {
  EXPECT_EQ(inChild([&] {
              umask(0);
              files.createDirectory(folder.path("a/b"));
              files.writeAtomically(bytesOf("x"), folder.path("a/b/file"));
              return true;
            }),
            0);
  EXPECT_EQ(modeOf(folder.path("a")), 0755U);
  EXPECT_EQ(modeOf(folder.path("a/b")), 0755U);
  EXPECT_EQ(modeOf(folder.path("a/b/file")), 0644U);
}

TEST_F(LinuxFilesTest, ReadsNoFileThatWouldFillTheMemory) {
  const auto path = folder.write("file", "");
  fs::resize_file(path, 1 << 24);
  EXPECT_EQ(files.contents(path).value().bytes().size(), std::size_t{1} << 24);
  fs::resize_file(path, std::uintmax_t{1} << 40);
  EXPECT_EQ(files.contents(path), std::nullopt);
}

TEST_F(LinuxFilesTest, KeepsThePermissionsOfAnExistingFile) {
  const auto path = folder.write("file", "old");
  for (const mode_t mode : {0600U, 0666U, 0400U}) {
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    files.writeAtomically(bytesOf("new"), path);
    EXPECT_EQ(modeOf(path), mode);
  }
}

TEST_F(LinuxFilesTest, LeavesNothingBesideTheFile) {
  files.writeAtomically(bytesOf("x"), folder.path("file"));
  files.writeAtomically(bytesOf("y"), folder.path("file"));
  EXPECT_THAT(names(), testing::ElementsAre("file"));
}

TEST_F(LinuxFilesTest, LeavesTheOldFileWhenTheNameCannotBeTaken) {
  fs::create_directory(folder.path("folder"));
  EXPECT_EQ(failureCode([&] { files.writeAtomically(bytesOf("x"), folder.path("folder")); }),
            EISDIR);
  EXPECT_THAT(names(), testing::ElementsAre("folder"));
}

TEST_F(LinuxFilesTest, LeavesTheOldFileWhenTheBytesCannotBeWritten) {
  const auto path = folder.write("file", "old");
  const std::vector<std::uint8_t> tooMany(100'000, 'x');
  EXPECT_EQ(inChild([&] {
              std::signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{1000, 1000};
              setrlimit(RLIMIT_FSIZE, &limit);
              return failureCode([&] { files.writeAtomically(tooMany, path); }) == EFBIG;
            }),
            0);
  EXPECT_EQ(textOf(files, path), "old");
  EXPECT_THAT(names(), testing::ElementsAre("file"));
}

TEST_F(LinuxFilesTest, NamesThePathAndTheReasonInItsErrors) {
  const auto path = folder.path("missing/file");
  try {
    files.writeAtomically(bytesOf("x"), path);
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error, Error("com.quorvin.support.posix", ENOENT,
                           path.string() + " could not be written: No such file or directory."));
  }
  EXPECT_EQ(failureCode([&] { files.removeItem(path); }), ENOENT);
  EXPECT_EQ(failureCode([&] { files.createSymbolicLink(folder.path(""), "x"); }), EEXIST);
  EXPECT_EQ(failureCode([&] { (void)files.destinationOfSymbolicLink(folder.path("")); }), EINVAL);
}

TEST_F(LinuxFilesTest, LeavesTheWordsOfALinkAlone) {
  files.createSymbolicLink(folder.path("link"), "../a/./b/");
  EXPECT_EQ(files.destinationOfSymbolicLink(folder.path("link")).native(), "../a/./b/");
}

TEST_F(LinuxFilesTest, DoesNotWaitForAPipe) {
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(files.contents(folder.path("pipe")), std::nullopt);
}

}  // namespace
}  // namespace quorvin
