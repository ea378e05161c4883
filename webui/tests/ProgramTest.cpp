#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/unix/FileDescriptor.h"
#include "tests/ChildProgram.h"
#include "tests/TemporaryFolder.h"
#include "webui/tests/TestPage.h"

namespace quorvin::webui {
namespace {

constexpr int deadlineMs = 30'000;
constexpr const char* goodLink = "QUORVIN_UI_FD=3";

std::array<FileDescriptor, 2> socketPair() {
  std::array<int, 2> ends{};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

// The program as a host starts it: its end of the link as descriptor 3, its standard output and
// standard error in one stream that the test reads.
class Program {
 public:
  // `linkVariable` and the others are entries of its environment, the first null for none.
  explicit Program(const char* linkVariable, const std::vector<const char*>& others = {}) {
    auto link = socketPair();
    auto out = socketPair();
    host = std::move(link[0]);
    output = std::move(out[0]);
    const auto runtime = "XDG_RUNTIME_DIR=" + folder.path().string();
    const auto state = "XDG_STATE_HOME=" + folder.path("state").string();
    std::vector<const char*> environment{"QUORVIN_WEBUI_OPEN=0", runtime.c_str(), state.c_str()};
    environment.insert(environment.end(), others.begin(), others.end());
    environment.insert(environment.end(), {linkVariable, nullptr});
    process = forkChild();
    if (process == 0) run(link[1].get(), out[1].get(), environment.data());
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() {
    if (process <= 0) return;
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
  }

  // The files that it keeps for the user's other programs.
  [[nodiscard]] std::vector<std::filesystem::path> files() const {
    const std::filesystem::directory_iterator begin(folder.path("com.quorvin.support"));
    return {begin, std::filesystem::directory_iterator()};
  }

  void closeLink() { host.reset(); }
  void interrupt() const { kill(process, SIGINT); }
  void terminate() const { kill(process, SIGTERM); }
  void killAtOnce() const { kill(process, SIGKILL); }
  [[nodiscard]] std::vector<pid_t> children() const { return childrenOf(process); }

  [[nodiscard]] std::filesystem::path stateFolder() const { return folder.path("state"); }

  // The next line it prints, without its end; empty at the end of the output.
  std::string readLine() {
    std::string line;
    char character = 0;
    while (readCharacter(character) && character != '\n') line += character;
    return line;
  }

  // Waits for the end of the program; -1 if it did not exit by itself in time.
  int exitStatus() {
    char character = 0;
    while (readCharacter(character)) rest += character;
    if (!ended) return -1;
    int status = 0;
    waitpid(std::exchange(process, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // Whether the program asked something of its host, which it does once it is up.
  [[nodiscard]] bool speaks() const {
    pollfd waiting{host.get(), POLLIN, 0};
    return poll(&waiting, 1, deadlineMs) == 1 && (waiting.revents & POLLIN) != 0;
  }

  std::string rest;  // what was printed after the lines read

 private:
  // In the forked child, where nothing may allocate: other tests may have left threads behind.
  [[noreturn]] static void run(int link, int out, const char* const* environment) {
    dup2(out, STDOUT_FILENO);
    dup2(out, STDERR_FILENO);
    dup2(link, 3);
    execle(QUORVIN_WEBUI_PROGRAM, "quorvin-webui", nullptr, environment);
    _exit(127);
  }

  bool readCharacter(char& character) {
    pollfd waiting{output.get(), POLLIN, 0};
    if (poll(&waiting, 1, deadlineMs) != 1) return false;
    ended = read(output.get(), &character, 1) != 1;
    return !ended;
  }

  const TemporaryFolder folder;
  FileDescriptor host;
  FileDescriptor output;
  pid_t process = 0;
  bool ended = false;
};

std::string addressIn(const std::string& line) {
  constexpr std::string_view before = "Quorvin Support: open ";
  return line.substr(before.size(), line.find(" in a") - before.size());
}

TEST(Program, NeedsALinkToAHost) {
  constexpr const char* notSet = "is not set; start quorvin-support, which starts this program";
  constexpr const char* noNumber = "is not a descriptor number.";
  const std::vector<std::pair<const char*, const char*>> cases{
      {nullptr, notSet},
      {"QUORVIN_UI_FD=", notSet},
      {"QUORVIN_UI_FD=x", noNumber},
      {"QUORVIN_UI_FD=3x", noNumber},
      {"QUORVIN_UI_FD=-1", noNumber},
      {"QUORVIN_UI_FD=1000", "names no open descriptor."}};
  for (const auto& [variable, complaint] : cases) {
    Program program(variable);
    EXPECT_EQ(program.readLine(), std::string("quorvin-webui: QUORVIN_UI_FD ") + complaint);
    EXPECT_EQ(program.exitStatus(), 1);
    EXPECT_EQ(program.rest, "");
  }
}

TEST(Program, PrintsItsAddressAndEndsWithTheHost) {
  Program program(goodLink);
  const auto line = program.readLine();
  EXPECT_TRUE(line.starts_with("Quorvin Support: open http://127.0.0.1:")) << line;
  EXPECT_TRUE(line.ends_with("/ in a browser")) << line;
  program.closeLink();
  EXPECT_EQ(program.exitStatus(), 0);
  EXPECT_EQ(program.rest, "");
}

TEST(Program, KeepsItsAddressInAFileUntilItEnds) {
  Program program(goodLink);
  const auto address = addressIn(program.readLine());
  ASSERT_EQ(program.files().size(), 1U);
  std::ostringstream content;
  content << std::ifstream(program.files().front()).rdbuf();
  EXPECT_NE(content.str().find(address), std::string::npos);
  program.terminate();
  EXPECT_EQ(program.exitStatus(), 0);
  EXPECT_TRUE(program.files().empty());
}

TEST(Program, LetsTheHostEndFirstAfterAnInterrupt) {
  Program program(goodLink);
  program.readLine();
  ASSERT_TRUE(program.speaks());
  program.interrupt();
  program.closeLink();
  EXPECT_EQ(program.exitStatus(), 0);
  EXPECT_EQ(program.rest, "");
}

TEST(Program, EndsAfterAnInterruptEvenIfTheHostDoesNot) {
  Program program(goodLink);
  program.readLine();
  ASSERT_TRUE(program.speaks());
  program.interrupt();
  EXPECT_EQ(program.exitStatus(), 0);
}

TEST(Program, EndsWhenAskedTo) {
  Program program(goodLink);
  program.readLine();
  ASSERT_TRUE(program.speaks());
  program.terminate();
  EXPECT_EQ(program.exitStatus(), 0);
}

constexpr const char* page = "QUORVIN_REMOTE_PAGE=http://localhost:8080/";

TEST(Program, StartsSignallingThatEndsWithIt) {
  Program program(goodLink, {"QUORVIN_REMOTE_BROKER=mqtt://127.0.0.1:1", page});
  program.readLine();
  ASSERT_EQ(program.children().size(), 1U);
  const auto signalling = program.children().front();
  EXPECT_EQ(
      std::filesystem::read_symlink("/proc/" + std::to_string(signalling) + "/exe").filename(),
      "quorvin-signalling");
  const FileDescriptor handle(static_cast<int>(syscall(SYS_pidfd_open, signalling, 0)));
  program.killAtOnce();
  pollfd end{handle.get(), POLLIN, 0};
  EXPECT_EQ(poll(&end, 1, deadlineMs), 1);
}

// What it needs for that it has taken before it was confined.
TEST(Program, InvitesAndKeepsALogOnceItServes) {
  Program program(goodLink, {"QUORVIN_REMOTE_BROKER=mqtt://127.0.0.1:1", page});
  const auto address = addressIn(program.readLine());
  const TestPage customer(address,
                          address.substr(0, address.rfind('/', address.size() - 2)).c_str());
  ASSERT_TRUE(customer.connected());
  customer.send(R"({"invite":true})");
  EXPECT_TRUE(runUntil([&] {
    const auto event = customer.find({{"event", "remote"}});
    return !event.is_null() && event["problem"] == "unreachable";
  }));
  EXPECT_EQ(customer.find({{"event", "remote"}})["sessions"][0]["stage"], "preparing");
  customer.send(R"({"log":true})");
  EXPECT_EQ(customer.waitFor({{"event", "log"}})["entries"][0]["event"], "invited");
  EXPECT_TRUE(
      std::filesystem::exists(program.stateFolder() / "com.quorvin.support/sessions.jsonl"));
}

TEST(Program, KeepsNoLogWithoutABroker) {
  Program program(goodLink);
  program.readLine();
  EXPECT_FALSE(std::filesystem::exists(program.stateFolder()));
}

TEST(Program, ServesItsPageWithoutABrokerThatIsNone) {
  Program program(goodLink, {"QUORVIN_REMOTE_BROKER=https://broker.example", page});
  EXPECT_EQ(
      program.readLine(),
      "quorvin-webui: no supporter on another computer: QUORVIN_REMOTE_...: \"broker\" has to "
      "be mqtts://HOST:8883 or mqtt://HOST:1883");
  EXPECT_TRUE(program.readLine().starts_with("Quorvin Support: open http://127.0.0.1:"));
  EXPECT_TRUE(program.children().empty());
}

}  // namespace
}  // namespace quorvin::webui
