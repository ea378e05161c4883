#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/unix/FileDescriptor.h"
#include "tests/ChildProgram.h"
#include "tests/TemporaryFolder.h"
#include "webui/HiddenBrowser.h"

namespace quorvin::webui {
namespace {

// The browser is a script that says into a named pipe what it was started with. The pipe ends with
// its process.
class HiddenBrowserTest : public testing::Test {
 protected:
  HiddenBrowserTest() {
    EXPECT_EQ(mkfifo(folder.path("said").c_str(), 0600), 0);
    const auto script = folder.path("browser");
    std::ofstream(script) << "#!/bin/sh\nexec 3>" << folder.path("said")
                          << "\necho \"$@\" >&3\nexec sleep 600\n";
    chmod(script.c_str(), 0700);
    setenv("QUORVIN_HIDDEN_BROWSER", script.c_str(), 1);
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    ours = FileDescriptor(ends[0]);
    theirs = FileDescriptor(ends[1]);
  }
  ~HiddenBrowserTest() override { unsetenv("QUORVIN_HIDDEN_BROWSER"); }

  pid_t startLauncher() {
    const pid_t child = forkChild();
    if (child != 0) return child;
    ours.reset();
    runHiddenBrowser("/a folder/page.html", theirs);
    ::_exit(EXIT_SUCCESS);
  }
  static int statusOf(pid_t child) {
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
  }

  TemporaryFolder folder;
  std::array<int, 2> ends{};
  FileDescriptor ours, theirs;
};

TEST_F(HiddenBrowserTest, ShowsThePageUntilItIsToldOtherwise) {
  const auto launcher = startLauncher();
  std::ifstream said(folder.path("said"));
  std::string arguments, more;
  std::getline(said, arguments);
  EXPECT_NE(arguments.find("--headless=new"), std::string::npos) << arguments;
  EXPECT_TRUE(arguments.ends_with(" file:///a%20folder/page.html")) << arguments;
  theirs.reset();
  ours.reset();
  EXPECT_EQ(statusOf(launcher), 0);
  EXPECT_FALSE(std::getline(said, more)) << more;
}

TEST_F(HiddenBrowserTest, SaysWhatIsMissing) {
  EXPECT_TRUE(hasHiddenBrowser());
  setenv("QUORVIN_HIDDEN_BROWSER", folder.path("none").c_str(), 1);
  EXPECT_FALSE(hasHiddenBrowser());
  testing::internal::CaptureStderr();
  runHiddenBrowser("/page.html", theirs);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("install Chromium"), std::string::npos);
}

}  // namespace
}  // namespace quorvin::webui
