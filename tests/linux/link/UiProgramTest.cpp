#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

#include "platform/linux/link/UiProgram.h"
#include "platform/unix/ProgramStart.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;

std::string refusal(const std::string& text) {
  try {
    const auto taken = takeInheritedUiSocket(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

std::string refusal(const FileDescriptor& descriptor) {
  return refusal(std::to_string(descriptor.get()));
}

std::array<FileDescriptor, 2> makePair(int type) {
  std::array<int, 2> ends{};
  EXPECT_EQ(::socketpair(AF_UNIX, type, 0, ends.data()), 0);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

TEST(InheritedUiSocket, IsTakenOverAndNotInheritedFurther) {
  auto [own, other] = makePair(SOCK_STREAM);
  const auto number = own.release();
  const auto taken = takeInheritedUiSocket(std::to_string(number));
  EXPECT_EQ(taken.get(), number);
  EXPECT_EQ(::fcntl(number, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(InheritedUiSocket, IsRefusedWhenTheTextIsNoNumber) {
  for (const auto* text :
       {"", " ", "x", "3x", " 3", "3 ", "+3", "-1", "0x3", "3.0", "99999999999999999999", "3\n"}) {
    EXPECT_EQ(refusal(text), "QUORVIN_UI_FD is not a descriptor number.") << text;
  }
}

TEST(InheritedUiSocket, IsRefusedWhenNothingIsOpen) {
  int number = -1;
  {
    const FileDescriptor closed(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    number = closed.get();
  }
  EXPECT_EQ(refusal(std::to_string(number)), "QUORVIN_UI_FD names no open descriptor.");
  EXPECT_EQ(refusal("2147483647"), "QUORVIN_UI_FD names no open descriptor.");
}

TEST(InheritedUiSocket, IsRefusedWhenItIsAFileOrAPipe) {
  const FileDescriptor file(::open("/dev/null", O_RDWR | O_CLOEXEC));
  EXPECT_EQ(refusal(file), "QUORVIN_UI_FD does not name a socket.");
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  const FileDescriptor readEnd(ends[0]);
  const FileDescriptor writeEnd(ends[1]);
  EXPECT_EQ(refusal(readEnd), "QUORVIN_UI_FD does not name a socket.");
}

TEST(InheritedUiSocket, IsRefusedWhenItKeepsMessagesApart) {
  for (const int type : {SOCK_DGRAM, SOCK_SEQPACKET}) {
    const auto pair = makePair(type);
    EXPECT_EQ(refusal(pair[0]), "QUORVIN_UI_FD does not name a stream socket.");
  }
}

TEST(InheritedUiSocket, IsRefusedWhenItIsNotConnected) {
  const FileDescriptor fresh(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(refusal(fresh), "QUORVIN_UI_FD does not name a connected socket.");
  const FileDescriptor listening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::listen(listening.get(), 1), 0);
  EXPECT_EQ(refusal(listening), "QUORVIN_UI_FD does not name a connected socket.");
}

TEST(InheritedUiSocket, StaysOpenWhenItIsRefused) {
  const FileDescriptor file(::open("/dev/null", O_RDWR | O_CLOEXEC));
  EXPECT_NE(refusal(file), "");
  EXPECT_NE(::fcntl(file.get(), F_GETFD), -1);
}

// A shell script in the place of the user interface.
class UiProgramTest : public testing::Test {
 protected:
  std::string script(const std::string& text) const { return folder.writeScript("program", text); }

  // All that the program writes to the link until it closes it.
  static std::string readAll(const FileDescriptor& socket) {
    std::string all;
    std::array<char, 256> chunk{};
    ssize_t count = 0;
    while ((count = ::read(socket.get(), chunk.data(), chunk.size())) > 0) {
      all.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return all;
  }

  static void readLine(const FileDescriptor& socket) {
    char character = 0;
    while (::read(socket.get(), &character, 1) == 1 && character != '\n') {
    }
  }

  static bool hasChildren() { return ::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD; }

  static std::chrono::milliseconds timeToEnd(UiProgram& program,
                                             std::chrono::milliseconds timeout) {
    const auto start = std::chrono::steady_clock::now();
    program.end(timeout);
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start);
  }

  TemporaryFolder folder;
};

TEST_F(UiProgramTest, HasTheLinkAsDescriptorThreeAndNoneOfOurs) {
  const FileDescriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  const FileDescriptor inheritable(::fcntl(file.get(), F_DUPFD, 50));
  UiProgram program(
      script("echo \"fd $QUORVIN_UI_FD\" >&3\n"
             "test -e /proc/self/fd/" +
             std::to_string(inheritable.get()) + " && echo leak >&3\n"));
  const auto socket = program.takeSocket();
  EXPECT_EQ(readAll(socket), "fd 3\n");
}

int sendBufferOf(const FileDescriptor& socket) {
  int bytes = 0;
  socklen_t size = sizeof bytes;
  EXPECT_EQ(::getsockopt(socket.get(), SOL_SOCKET, SO_SNDBUF, &bytes, &size), 0);
  return bytes;
}

TEST_F(UiProgramTest, HasALinkThatTakesMoreThanOthersDo) {
  UiProgram program(script("exit 0\n"));
  EXPECT_GT(sendBufferOf(program.takeSocket()), sendBufferOf(makePair(SOCK_STREAM)[0]));
}

TEST_F(UiProgramTest, ClosesTheLinkWhenItEnds) {
  UiProgram program(script("exit 7\n"));
  const auto socket = program.takeSocket();
  EXPECT_EQ(readAll(socket), "");
}

TEST_F(UiProgramTest, IsAStartUpErrorWhenItCannotBeStarted) {
  const auto plainFile = script("exit 0\n");
  std::filesystem::permissions(plainFile, std::filesystem::perms::owner_read);
  for (const auto& name : {std::string("/nonexistent/program"), std::string("/tmp"), plainFile}) {
    try {
      const UiProgram program(name);
      ADD_FAILURE() << name << " was started";
    } catch (const std::runtime_error& error) {
      EXPECT_NE(std::string(error.what()).find(name), std::string::npos) << error.what();
    }
  }
}

TEST_F(UiProgramTest, IsWaitedForWhenItLeavesByItself) {
  UiProgram program(script("read line <&3\nexit 0\n"));
  program.takeSocket().reset();
  EXPECT_LT(timeToEnd(program, 10s), 5s);
  EXPECT_FALSE(hasChildren());
}

TEST_F(UiProgramTest, IsAskedToLeaveWhenItStays) {
  UiProgram program(script("trap 'exit 0' TERM\necho ready >&3\nwhile :; do sleep 0.05; done\n"));
  const auto socket = program.takeSocket();
  readLine(socket);
  const auto time = timeToEnd(program, 200ms);
  EXPECT_GE(time, 200ms);
  EXPECT_LT(time, 5s);
  EXPECT_FALSE(hasChildren());
}

TEST_F(UiProgramTest, IsKilledWhenItDoesNotListen) {
  UiProgram program(script("trap '' TERM\necho ready >&3\nwhile :; do sleep 0.05; done\n"));
  const auto socket = program.takeSocket();
  readLine(socket);
  const auto time = timeToEnd(program, 200ms);
  EXPECT_GE(time, 400ms);
  EXPECT_LT(time, 5s);
  EXPECT_FALSE(hasChildren());
}

}  // namespace
}  // namespace quorvin
