// What the tests rest on: whatever they start ends with them.

#include <gtest/gtest.h>
#include <poll.h>
#include <xcb/xcb.h>

#include <array>
#include <filesystem>
#include <memory>

#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

// The exit status of a child that has ended, or minus the signal that ended it.
int endOf(pid_t child) {
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST(XServer, EndsWithATestThatIsKilled) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
  const pid_t test = forkChild();
  if (test == 0) {
    const XServer server;
    const auto display = server.display() + '\n';
    if (write(pipe[1], display.data(), display.size()) < 0) _exit(1);
    for (;;) pause();
  }
  close(pipe[1]);
  std::string display;
  char letter = 0;
  while (read(pipe[0], &letter, 1) == 1 && letter != '\n') display += letter;
  close(pipe[0]);
  const std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection(
      xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
  EXPECT_EQ(xcb_connection_has_error(connection.get()), 0) << display;

  kill(test, SIGKILL);
  EXPECT_EQ(endOf(test), -SIGKILL);
  pollfd end{.fd = xcb_get_file_descriptor(connection.get()), .events = POLLIN, .revents = 0};
  EXPECT_EQ(poll(&end, 1, 30'000), 1);
  EXPECT_NE(end.revents & POLLHUP, 0);

  // What it has left does not keep others from the display.
  const XServer next({display});
  EXPECT_EQ(next.display(), display);
}

TEST(XServer, LeavesNothingInTheSocketsFolder) {
  XServer server;
  const auto socket = std::filesystem::path("/tmp/.X11-unix/X" + server.display().substr(1));
  EXPECT_TRUE(exists(socket));
  server.end();
  EXPECT_FALSE(exists(socket));
}

TEST(ChildProgram, DoesNotStartForAParentThatIsGone) {
  const pid_t notItsParent = getpid() + 1;
  const pid_t child = fork();
  if (child == 0) {
    endWithParent(notItsParent);
    _exit(0);
  }
  EXPECT_EQ(endOf(child), 127);
}

TEST(ChildProgram, SaysWhyItCannotStart) {
  try {
    static_cast<void>(
        startProgram({.words = {"/nonexistent/program"}, .environment = {}, .descriptors = {}}));
    FAIL() << "started";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), ENOENT);
  }
}

}  // namespace
}  // namespace quorvin
