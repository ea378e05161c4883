// What the programs still do when the system has nothing left for them, and what the one that reads
// strangers' bytes can no longer do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <iterator>
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

std::vector<fs::path> threadsOf(pid_t process) {
  std::error_code gone;
  const fs::directory_iterator tasks(folderOf(process) / "task", gone);
  return {begin(tasks), end(tasks)};
}

bool hasThread(pid_t process, std::string_view name) {
  return std::ranges::any_of(threadsOf(process), [name](const fs::path& thread) {
    return statusLine(thread, "Name") == name;
  });
}

bool speaks(const FileDescriptor& link) {
  pollfd waiting{link.get(), POLLIN, 0};
  constexpr int timeoutMs = 10'000;
  return ::poll(&waiting, 1, timeoutMs) == 1 && (waiting.revents & POLLIN) != 0;
}

TEST(ConfinedWebInterface, CannotTakeBackWhatItGaveUpInAnyOfItsThreads) {
  const TemporaryFolder home;
  auto [own, programs] = makeLinkPair();
  const HostProcess webui(
      {.program = QUORVIN_WEBUI_PROGRAM,
       .arguments = {},
       .environment = {"HOME=" + home.path().string(), "QUORVIN_UI_FD=3", "QUORVIN_WEBUI_OPEN=0"},
       .link = std::move(programs)});
  ASSERT_TRUE(speaks(own));
  const auto threads = threadsOf(webui.processId());
  ASSERT_GE(threads.size(), 2U);
  constexpr auto byFilter = "2";
  for (const auto& thread : threads) {
    EXPECT_EQ(statusLine(thread, "Seccomp"), byFilter) << thread;
    EXPECT_EQ(statusLine(thread, "NoNewPrivs"), "1") << thread;
  }
  const auto limits = contentOf(folderOf(webui.processId()) / "limits");
  EXPECT_THAT(limits, testing::ContainsRegex("Max open files +256 +256"));
  EXPECT_THAT(limits, testing::ContainsRegex("Max data size +1073741824 +1073741824"));
  EXPECT_THAT(limits, testing::ContainsRegex("Max core file size +0 +0"));
}

// Programs started as a user with few threads. Root has no such limit, so that a user of the
// tests' own takes its place; another user's limit counts what else that user has running.
class ThreadLimit : public testing::Test {
 protected:
  ThreadLimit() {
    fs::permissions(place.path(),
                    fs::perms::owner_all | fs::perms::others_exec | fs::perms::others_read);
    fs::copy(fs::path(QUORVIN_HOST).parent_path(), programs, fs::copy_options::recursive);
    fs::create_directory(home);
    if (isRoot) {
      EXPECT_EQ(::chown(home.c_str(), user, user), 0);
    }
  }

  // A command of that user's.
  static std::pair<std::string, std::vector<std::string>> asUser(std::vector<std::string> command) {
    if (isRoot) {
      const auto number = std::to_string(user);
      command.insert(command.begin(), {"/usr/bin/setpriv", "--reuid=" + number, "--regid=" + number,
                                       "--clear-groups", "--"});
    }
    auto program = command.front();
    command.erase(command.begin());
    return {std::move(program), std::move(command)};
  }

  HostProcess::Launch launch(const std::string& name, std::size_t threads,
                             FileDescriptor link) const {
    auto [program, arguments] =
        asUser({"/usr/bin/prlimit", "--nproc=" + std::to_string(threadsElsewhere() + threads),
                programs / name});
    return {.program = std::move(program),
            .arguments = std::move(arguments),
            .environment = {"PATH=/usr/bin:/bin", "DISPLAY=" + server.display(),
                            "HOME=" + home.string(), "XDG_CONFIG_HOME=" + home.string(),
                            "DBUS_SESSION_BUS_ADDRESS=disabled:", "NO_AT_BRIDGE=1",
                            "GSETTINGS_BACKEND=memory", "QUORVIN_WEBUI_OPEN=0", "QUORVIN_UI_FD=3"},
            .link = std::move(link)};
  }

  // What this user has running apart from the programs under test.
  static std::size_t threadsElsewhere() {
    if (isRoot) return 0;
    std::size_t count = 0;
    for (const auto& process : fs::directory_iterator("/proc")) {
      struct stat owner {};
      if (::stat(process.path().c_str(), &owner) != 0 || owner.st_uid != ::geteuid()) continue;
      std::error_code gone;
      const fs::directory_iterator tasks(process.path() / "task", gone);
      count += static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
    }
    return count;
  }

  // Only as long as it is less than the process was started with.
  static void setLimit(const HostProcess& host, std::size_t threads) {
    auto [program, arguments] =
        asUser({"/usr/bin/prlimit", "--pid=" + std::to_string(host.processId()),
                "--nproc=" + std::to_string(threadsElsewhere() + threads) + ":"});
    HostProcess change({.program = std::move(program),
                        .arguments = std::move(arguments),
                        .environment = {},
                        .link = {}});
    ASSERT_EQ(change.statusWithin(), 0) << change.errorOutput();
  }

  // Of this process alone: tests that run at the same time would count each other's threads.
  inline static const auto user = static_cast<uid_t>(64'321 + ::getpid() % 1'000);
  inline static const bool isRoot = ::geteuid() == 0;

  TemporaryFolder place;
  const fs::path programs = place.path("programs");
  const fs::path home = place.path("home");
  XServer server;
};

constexpr std::size_t plenty = 60;

TEST_F(ThreadLimit, EndsTheStartOfTheHostWithALineOrLetsItWork) {
  std::size_t refused = 0;
  bool hasWorked = false;
  for (std::size_t threads = 1; threads <= plenty && !hasWorked; ++threads) {
    SCOPED_TRACE(threads);
    auto [own, hosts] = makeLinkPair();
    HostProcess host(launch("quorvin-support", threads, std::move(hosts)));
    LinkClient client(std::move(own));
    try {
      client.call("capabilities");
      hasWorked = true;
      host.send(SIGTERM);
      EXPECT_EQ(host.statusWithin(), 0) << host.errorOutput();
    } catch (const LinkClient::NoAnswer&) {
      ++refused;
      EXPECT_EQ(host.statusWithin(), 1);
      EXPECT_THAT(host.errorOutput(), testing::MatchesRegex("quorvin-support: [^\n]+\n"));
    }
  }
  EXPECT_TRUE(hasWorked);
  EXPECT_GT(refused, 2U);
}

TEST_F(ThreadLimit, EndsTheStartOfTheWebInterfaceWithALineOrLetsItWork) {
  std::size_t refused = 0;
  bool hasWorked = false;
  for (std::size_t threads = 1; threads <= plenty && !hasWorked; ++threads) {
    SCOPED_TRACE(threads);
    auto link = makeLinkPair();
    const FileDescriptor own = std::move(link.first);
    HostProcess webui(launch("quorvin-webui", threads, std::move(link.second)));
    ASSERT_TRUE(comesTrue([&] {
      pollfd waiting{own.get(), POLLIN, 0};
      hasWorked = ::poll(&waiting, 1, 0) == 1 && (waiting.revents & POLLHUP) == 0;
      return hasWorked || webui.statusWithin(std::chrono::milliseconds(0));
    }));
    if (!hasWorked) {
      ++refused;
      EXPECT_EQ(webui.statusWithin(), 1);
      EXPECT_THAT(webui.errorOutput(), testing::MatchesRegex("quorvin-webui: [^\n]+\n"));
    }
  }
  EXPECT_TRUE(hasWorked);
  EXPECT_GT(refused, 2U);
}

TEST_F(ThreadLimit, AnswersEveryCallOfASessionThatGetsNoThread) {
  auto [own, hosts] = makeLinkPair();
  HostProcess host(launch("quorvin-support", plenty, std::move(hosts)));
  LinkClient client(std::move(own));
  client.call("capabilities");
  client.listen();
  const Map consent{{"locallyAuthorized", true}};
  // Once the screen is quiet the host's window is drawn, for which GTK makes threads.
  ASSERT_EQ(client.call("startCapture", consent), FlutterReply(Value()));
  while (client.nextEvent(std::chrono::milliseconds(500))) {
  }
  client.call("stopCapture");
  ASSERT_TRUE(comesTrue([&] { return !hasThread(host.processId(), "ScreenCapture"); }));
  const auto atRest = threadsOf(host.processId()).size();
  auto settings = streamSettings(640, 480);
  settings.append("codec", "h264");  // the last counts

  std::size_t refused = 0;
  std::size_t started = 0;
  for (std::size_t spare = 0; spare < 12; ++spare) {
    SCOPED_TRACE(spare);
    ASSERT_FALSE(host.statusWithin(std::chrono::milliseconds(0))) << host.errorOutput();
    setLimit(host, atRest + spare);
    client.call("capabilities");
    client.call("permissions");
    const auto reply = client.call("startCapture", consent);
    if (reply == FlutterReply(Value())) {
      ++started;
      client.call("configureStream", settings);
      client.call("injectInput", Map{{"action", "keyDown"}, {"keyCode", 0}});
      client.call("injectInput", Map{{"action", "keyUp"}, {"keyCode", 0}});
    } else {
      ++refused;
      const auto* error = std::get_if<FlutterError>(&reply);
      ASSERT_NE(error, nullptr);
      // Without a thread nobody can ask the display what it allows.
      EXPECT_THAT(error->code, testing::AnyOf("capture_failed", "screen_recording_required"));
    }
    client.call("stopCapture");
    EXPECT_TRUE(comesTrue([&] { return threadsOf(host.processId()).size() <= atRest + 1; }));
  }
  EXPECT_GT(refused, 1U);
  EXPECT_GT(started, 1U);

  setLimit(host, plenty - 1);
  EXPECT_EQ(client.call("startCapture", consent), FlutterReply(Value()));
  EXPECT_TRUE(client.nextEvent());
  host.send(SIGTERM);
  EXPECT_EQ(host.statusWithin(), 0) << host.errorOutput();
}

}  // namespace
}  // namespace quorvin
