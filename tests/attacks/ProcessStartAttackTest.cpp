// The programs as a careless or malicious parent starts them: with standard descriptors closed,
// with signals blocked, with no room for what they write.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/TemporaryFolder.h"
#include "tests/attacks/ProgramUnderAttack.h"
#include "tests/e2e/link/HostHarness.h"

namespace quorvin {
namespace {

namespace fs = std::filesystem;

constexpr auto nowhere = "/dev/null";
constexpr auto noSignals = "0000000000000000";

// Starts programs with all signals blocked, as they inherit it from whoever starts them.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
  }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

 private:
  sigset_t before{};
};

// A program started through a shell that closes these descriptors for it.
HostProcess::Launch withClosed(const std::string& redirections, HostProcess::Launch launch) {
  launch.arguments.insert(launch.arguments.begin(),
                          {"-c", "exec \"$0\" \"$@\" " + redirections, launch.program});
  launch.program = "/bin/sh";
  return launch;
}

class ProcessStart : public testing::Test {
 protected:
  // Each program on its way, with one end of a link to it.
  struct Started {
    std::unique_ptr<HostProcess> process;
    FileDescriptor link;
  };

  HostProcess::Launch launchOf(const std::string& program, FileDescriptor link) const {
    auto environment = harness.environment();
    environment.insert(environment.end(), {"QUORVIN_UI_FD=3", "QUORVIN_WEBUI_OPEN=0"});
    return {.program = program,
            .arguments = {},
            .environment = std::move(environment),
            .link = std::move(link)};
  }

  Started startHost(const std::string& redirections = {}) const {
    auto [own, hosts] = makeLinkPair();
    auto process = std::make_unique<HostProcess>(
        withClosed(redirections, launchOf(QUORVIN_HOST, std::move(hosts))));
    return {std::move(process), std::move(own)};
  }

  Started startWebui(const std::string& redirections = {}) const {
    auto [own, programs] = makeLinkPair();
    auto process = std::make_unique<HostProcess>(
        withClosed(redirections, launchOf(QUORVIN_WEBUI_PROGRAM, std::move(programs))));
    return {std::move(process), std::move(own)};
  }

  // Its journal is its standard input.
  Started startGuardian(const std::string& redirections = {}) const {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    FileDescriptor own(ends[0]);
    auto process = std::make_unique<HostProcess>(
        withClosed("<&3 " + redirections, launchOf(QUORVIN_GUARDIAN, FileDescriptor(ends[1]))));
    return {std::move(process), std::move(own)};
  }

  // Runs quorvin-launchctl on an agent, with a systemctl that notes what it finds in its parent and
  // in itself. Returns these notes.
  std::string notesOfLaunchctl(const std::string& redirections) const {
    const auto notes = harness.home.path("notes");
    const auto systemctl = harness.home.writeScript(
        "systemctl",
        "{ for n in 0 1 2; do echo \"$n=$(readlink /proc/$PPID/fd/$n)\"; done\n"
        "  sed 's/^/parent /' /proc/$PPID/status\n"
        "  sed 's/^/child /' /proc/self/status\n} >'" +
            notes.string() + "'\nexit 1\n");
    auto launch = launchOf(QUORVIN_LAUNCHCTL_PROGRAM, {});
    launch.arguments = {"bootout", "gui/" + std::to_string(::getuid()),
                        harness.home.path("agent.plist")};
    launch.environment.push_back("QUORVIN_SYSTEMCTL=" + systemctl);
    static_cast<void>(harness.home.write("agent.plist", agent));
    HostProcess process(withClosed(redirections, std::move(launch)));
    EXPECT_EQ(process.statusWithin(), 3) << process.errorOutput();
    return contentOf(notes);
  }

  static constexpr auto agent =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict><key>Label</key>"
      "<string>com.quorvin.support.attack</string><key>ProgramArguments</key><array>"
      "<string>/bin/true</string></array></dict></plist>";

  HostHarness harness;
};

// Whether something has come that can be read.
bool speaks(const FileDescriptor& link) {
  pollfd waiting{link.get(), POLLIN, 0};
  constexpr int timeoutMs = 10'000;
  return ::poll(&waiting, 1, timeoutMs) == 1 && (waiting.revents & POLLIN) != 0;
}

TEST_F(ProcessStart, FillsTheHostsStandardDescriptorsWhenTheyAreClosed) {
  auto started = startHost("<&- >&- 2>&-");
  const auto process = started.process->processId();
  LinkClient client(std::move(started.link));
  client.call("capabilities");
  for (const int standard : {0, 1, 2}) EXPECT_EQ(targetOf(process, standard), nowhere) << standard;
}

TEST_F(ProcessStart, FillsTheWebInterfacesStandardDescriptorsWhenTheyAreClosed) {
  const auto started = startWebui("<&- >&- 2>&-");
  ASSERT_TRUE(speaks(started.link));
  const auto process = started.process->processId();
  for (const int standard : {0, 1, 2}) EXPECT_EQ(targetOf(process, standard), nowhere) << standard;
}

TEST_F(ProcessStart, FillsTheGuardiansStandardDescriptorsWhenTheyAreClosed) {
  const auto started = startGuardian(">&- 2>&-");
  ASSERT_TRUE(speaks(started.link));
  const auto process = started.process->processId();
  for (const int standard : {1, 2}) EXPECT_EQ(targetOf(process, standard), nowhere) << standard;
}

TEST_F(ProcessStart, FillsLaunchctlsStandardDescriptorsWhenTheyAreClosed) {
  const auto notes = notesOfLaunchctl("<&- >&- 2>&-");
  for (const auto* line : {"0=/dev/null\n", "1=/dev/null\n", "2=/dev/null\n"}) {
    EXPECT_THAT(notes, testing::HasSubstr(line));
  }
}

TEST_F(ProcessStart, EndsTheHostOnRequestAlthoughItsParentBlockedAllSignals) {
  auto started = [this] {
    const BlockedSignals blocked;
    return startHost();
  }();
  LinkClient client(std::move(started.link));
  client.call("capabilities");
  started.process->send(SIGTERM);
  EXPECT_EQ(started.process->statusWithin(), 0);
}

TEST_F(ProcessStart, EndsTheWebInterfaceOnRequestAlthoughItsParentBlockedAllSignals) {
  auto started = [this] {
    const BlockedSignals blocked;
    return startWebui();
  }();
  ASSERT_TRUE(speaks(started.link));
  started.process->send(SIGTERM);
  EXPECT_EQ(started.process->statusWithin(), 0);
}

TEST_F(ProcessStart, LeavesNoSignalBlockedInTheGuardian) {
  const auto started = [this] {
    const BlockedSignals blocked;
    return startGuardian();
  }();
  ASSERT_TRUE(speaks(started.link));
  EXPECT_EQ(statusLine(folderOf(started.process->processId()), "SigBlk"), noSignals);
}

TEST_F(ProcessStart, LeavesNoSignalBlockedInLaunchctlAndWhatItStarts) {
  const BlockedSignals blocked;
  const auto notes = notesOfLaunchctl("");
  EXPECT_THAT(notes, testing::HasSubstr("parent SigBlk:\t" + std::string(noSignals)));
  EXPECT_THAT(notes, testing::HasSubstr("child SigBlk:\t" + std::string(noSignals)));
  constexpr std::string_view label = "child SigIgn:\t";
  const auto ignored = std::stoull(notes.substr(notes.find(label) + label.size()), nullptr, 16);
  for (const int signal : {SIGPIPE, SIGXFSZ}) {
    EXPECT_EQ(ignored >> static_cast<unsigned>(signal - 1) & 1U, 0U) << signal;
  }
}

// The host installed where it stays, with no room for any file that it writes.
class InstallWithoutRoom : public ProcessStart {
 protected:
  InstallWithoutRoom() {
    fs::create_directories(bundle.parent_path());
    fs::copy(fs::path(QUORVIN_HOST).parent_path().parent_path().parent_path(), bundle,
             fs::copy_options::recursive);
    static_cast<void>(harness.home.writeScript("systemctl", "exit 1\n"));
  }
  void TearDown() override { EXPECT_EQ(run({"--remove-unattended"}, "unlimited").first, 0); }

  // Returns the exit status and what was said.
  std::pair<int, std::string> run(const std::vector<std::string>& arguments,
                                  const std::string& fileBytesMax) const {
    auto launch = launchOf("/usr/bin/prlimit", {});
    launch.arguments = {"--fsize=" + fileBytesMax, bundle / "Contents/Linux/quorvin-support"};
    launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
    launch.environment.push_back("QUORVIN_SYSTEMCTL=" + harness.home.path("systemctl").string());
    HostProcess process(std::move(launch));
    const int status = process.statusWithin().value_or(-1);
    return {status, process.errorOutput()};
  }
  std::pair<int, std::string> install(const std::string& name,
                                      const std::string& fileBytesMax) const {
    return run({"--install-unattended", "--name", name}, fileBytesMax);
  }

  // What an install keeps: the settings, and the property list of the agent.
  [[nodiscard]] std::vector<std::string> kept() const {
    return {
        contentOf(harness.home.path("config/com.quorvin.support/defaults.ini")),
        contentOf(harness.home.path("Library/LaunchAgents/com.quorvin.support.unattended.plist"))};
  }
  // What the login starts.
  [[nodiscard]] std::string entry() const {
    return contentOf(harness.home.path("config/autostart/com.quorvin.support.unattended.desktop"));
  }

  const fs::path bundle = harness.home.path("Applications/Quorvin Support.app");
};

TEST_F(InstallWithoutRoom, FailsWithAnErrorAndKeepsWhatWasThere) {
  const auto [installed, complaint] = install("Before", "unlimited");
  ASSERT_EQ(installed, 0) << complaint;
  const auto keptBefore = kept();
  const auto entryBefore = entry();
  ASSERT_LT(entryBefore.size() + 1, keptBefore[1].size());

  // Room for the login's entry, but not for the property list.
  const auto [refused, reason] = install("After", std::to_string(entryBefore.size() + 1));
  EXPECT_EQ(refused, 1);
  EXPECT_THAT(reason, testing::StartsWith("Quorvin unattended access error: "));
  EXPECT_EQ(kept(), keptBefore);
  EXPECT_EQ(entry(), entryBefore);

  // Room for nothing, not even for what would put the entry back.
  EXPECT_EQ(install("After", "0").first, 1);
  EXPECT_EQ(kept(), keptBefore);

  EXPECT_EQ(install("After", "unlimited").first, 0);
  EXPECT_EQ(entry(), entryBefore);
}

}  // namespace
}  // namespace quorvin
