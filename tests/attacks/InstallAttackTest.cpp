// Setting up unattended access with the built programs while others hold its locks, want it too, or
// have put something else in the place of its files.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/system/AccountLock.h"
#include "platform/unix/FileDescriptor.h"
#include "tests/linux/launchctl/RecordingSystemctl.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

namespace fs = std::filesystem;
using launchctl::contentOf;
using launchctl::LaunchctlHarness;
using launchctl::ProgramRun;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto label = "com.quorvin.support.unattended";
constexpr auto bundle = "Applications/Quorvin Support.app";
constexpr uid_t stranger = 65534;
// What no command may take; each of its two locks is waited for five seconds.
constexpr std::chrono::seconds boundOfAll{16};

// An account with an installed copy and a systemd manager that does nothing.
class Account {
 public:
  explicit Account(const std::string& display) {
    install(harness.home());
    harness.environment.push_back("DISPLAY=" + display);
    harness.environment.push_back("XDG_CONFIG_HOME=");
  }

  // Puts a copy of the built programs into that folder.
  static void install(const fs::path& home) {
    const auto programs = home / bundle / "Contents/Linux";
    fs::create_directories(programs);
    for (const auto* program : {QUORVIN_HOST, QUORVIN_LAUNCHCTL}) {
      fs::copy_file(program, programs / fs::path(program).filename());
    }
  }

  // Runs the copy below that home, as a command line of its own if need be.
  [[nodiscard]] ProgramRun run(std::vector<std::string> arguments, const fs::path& home,
                               std::vector<std::string> command = {}) const {
    auto environment = harness.environment;
    environment.push_back("HOME=" + home.string());
    command.push_back(home / bundle / "Contents/Linux/quorvin-support");
    command.insert(command.end(), arguments.begin(), arguments.end());
    const auto begin = std::chrono::steady_clock::now();
    auto result = launchctl::runProgram(std::move(command), environment);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, boundOfAll) << arguments.front();
    return result;
  }
  [[nodiscard]] ProgramRun enable(const std::string& name = "New") const {
    return run({"--install-unattended", "--name", name}, home());
  }
  [[nodiscard]] ProgramRun disable() const { return run({"--remove-unattended"}, home()); }
  [[nodiscard]] std::string status() const { return run({"--status-unattended"}, home()).output; }
  [[nodiscard]] bool isEnabled() const { return status().find(" enabled for ") != status().npos; }

  // Whether systemd was told last to start the agent, and not to stop it.
  [[nodiscard]] bool isRunning() const {
    bool runs = false;
    for (const auto& call : systemctl.calls()) {
      if (call.starts_with("start ") || call.starts_with("stop "))
        runs = call.starts_with("start ");
    }
    return runs;
  }
  // What is left has to be one of two states.
  void expectConsistent() const {
    const bool enabled = isEnabled();
    EXPECT_EQ(fs::exists(agentFile()), enabled);
    EXPECT_EQ(fs::exists(harness.entry(label)), enabled);
  }
  void expectDisabled() const {
    EXPECT_FALSE(isEnabled());
    expectConsistent();
    EXPECT_FALSE(fs::exists(harness.unit(label)));
  }

  [[nodiscard]] fs::path home() const { return harness.home(); }
  [[nodiscard]] fs::path settings() const {
    return home() / ".config/com.quorvin.support/defaults.ini";
  }
  [[nodiscard]] fs::path settingsLock() const { return settings().string() + ".lock"; }
  [[nodiscard]] fs::path agentFile() const {
    return home() / "Library/LaunchAgents" / (std::string(label) + ".plist");
  }
  [[nodiscard]] fs::path registryFolder() const {
    return home() / ".local/state/quorvin-launchctl";
  }
  // All that there is except the copy, and what the files hold.
  [[nodiscard]] std::map<std::string, std::string> everything() const {
    std::map<std::string, std::string> found;
    for (auto entry = fs::recursive_directory_iterator(home()); entry != end(entry); ++entry) {
      if (entry->path() == home() / "Applications") {
        entry.disable_recursion_pending();
      } else {
        found[entry->path()] = entry->is_regular_file() ? contentOf(entry->path()) : "";
      }
    }
    return found;
  }

  LaunchctlHarness harness;
  launchctl::RecordingSystemctl systemctl{harness};
};

// Holds a lock on a file or folder, as somebody who never lets go.
FileDescriptor lockOn(const fs::path& path) {
  FileDescriptor held(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(flock(held.get(), LOCK_EX | LOCK_NB), 0) << path;
  return held;
}

class InstallAttack : public testing::Test {
 protected:
  XServer server;
};

// The first step was left out, so that the others must not be made.
void expectRefusalForGoodOnceRefused() {
  const TemporaryFolder folder;
  const auto path = folder.write("lock", "");
  AccountLock lock(path);
  {
    const auto held = lockOn(path);
    EXPECT_THROW(lock.takeIfThere(), Error);
  }
  EXPECT_THROW(lock.take(), Error);
  EXPECT_THROW(lock.takeIfThere(), Error);
}

TEST_F(InstallAttack, EndsInTimeWhenALockIsNeverLetGo) {
  Account installing(server.display());
  Account removing(server.display());
  Account registering(server.display());
  std::vector<FileDescriptor> locks;
  for (const auto* account : {&installing, &removing}) {
    ASSERT_EQ(account->enable("Old").status, 0);
    locks.push_back(lockOn(account->settingsLock()));
    account->systemctl.forgetCalls();
  }
  fs::create_directories(registering.registryFolder());
  locks.push_back(lockOn(registering.registryFolder()));
  const auto before = std::pair(installing.everything(), removing.everything());

  auto install = std::async(std::launch::async, [&] { return installing.enable(); });
  auto remove = std::async(std::launch::async, [&] { return removing.disable(); });
  auto once = std::async(std::launch::async, expectRefusalForGoodOnceRefused);
  const auto refused = registering.enable();
  once.get();
  for (const auto& [run, account] :
       {std::pair(install.get(), &installing), std::pair(remove.get(), &removing)}) {
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors,
                AllOf(HasSubstr("Quorvin unattended access error: "),
                      HasSubstr(account->settingsLock().string()), HasSubstr("try again.\n")));
    EXPECT_THAT(account->systemctl.calls(), IsEmpty());
  }
  EXPECT_EQ(std::pair(installing.everything(), removing.everything()), before);

  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.errors,
            "Quorvin unattended access error: macOS could not register the login startup item.\n");
  EXPECT_THAT(contentOf(registering.harness.log()),
              AllOf(HasSubstr(registering.registryFolder().string()), HasSubstr("try again\n")));
  registering.expectDisabled();
}

// Home folders are often open to others for reading, and who can open a folder can lock it.
TEST_F(InstallAttack, LetsNoOtherUserTakeItsLocks) {
  const Account account(server.display());
  fs::permissions(account.harness.folder.path(), fs::perms(0755));
  fs::permissions(account.home(), fs::perms(0755));
  ASSERT_EQ(account.enable("Old").status, 0);
  const auto mayOpen = [](const fs::path& path) {
    const pid_t other = fork();
    if (other == 0) {
      if (getuid() == 0 && (setgid(stranger) != 0 || setuid(stranger) != 0)) _exit(2);
      _exit(open(path.c_str(), O_RDONLY) < 0 ? 1 : 0);
    }
    int status = 0;
    waitpid(other, &status, 0);
    return WEXITSTATUS(status) == 0;
  };
  EXPECT_TRUE(mayOpen(account.home()));
  for (const auto& path : {account.settings().parent_path(), account.settings(),
                           account.settingsLock(), account.registryFolder()}) {
    EXPECT_TRUE(getuid() != 0 || !mayOpen(path)) << path;
    EXPECT_EQ(fs::status(path).permissions() & fs::perms(0077), fs::perms::none) << path;
  }
  const auto held = lockOn(account.home());
  EXPECT_EQ(account.enable("New").status, 0);
  EXPECT_EQ(account.disable().status, 0);
  account.expectDisabled();
}

TEST_F(InstallAttack, OfManyInstallsAndRemovalsAtOnceLeavesOneOfTwoStates) {
  const Account account(server.display());
  constexpr int rounds = 6;
  for (int round = 0; round < rounds; ++round) {
    std::vector<std::future<ProgramRun>> commands;
    for (int command = 0; command < 4; ++command) {
      const bool installs = (command + round) % 2 == 0;
      commands.push_back(std::async(std::launch::async, [&account, installs] {
        return installs ? account.enable() : account.disable();
      }));
    }
    for (auto& command : commands) {
      const auto run = command.get();
      EXPECT_TRUE(run.status == 0 || run.errors.find("try again") != std::string::npos)
          << run.status << run.errors;
    }
    account.expectConsistent();
    EXPECT_EQ(account.isRunning(), account.isEnabled());
  }
}

TEST_F(InstallAttack, SucceedsUnderEveryMaskAndMakesItsFilesPrivate) {
  for (const mode_t mask : {002U, 000U, 077U}) {
    const Account account(server.display());
    const auto before = umask(mask);
    const auto run = account.enable();
    umask(before);
    EXPECT_EQ(run.status, 0) << std::oct << mask << run.errors;
    account.expectConsistent();
    EXPECT_EQ(fs::status(account.settings()).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(account.settings().parent_path()).permissions(), fs::perms(0700));
    EXPECT_EQ(fs::status(account.agentFile()).permissions() & fs::perms(0022), fs::perms::none);
  }
}

TEST_F(InstallAttack, KnowsAnInstalledCopyHoweverItsHomeIsReachedAndNoOther) {
  const Account account(server.display());
  const auto path = [&](const char* name) {
    return account.harness.folder.path(name);
  };
  fs::create_directory_symlink(account.home(), path("link"));
  fs::create_directories(path("other"));
  fs::create_directory_symlink(account.home() / "Applications", path("other/Applications"));
  fs::create_directories(path("outside/Applications"));
  fs::create_directory_symlink(account.home() / bundle,
                               path("outside/Applications/Quorvin Support.app"));
  for (const auto* home : {"link", "other", "other/../link", "link/../other/", "outside"}) {
    const auto enabled = account.run({"--install-unattended", "--name", "x"}, path(home));
    EXPECT_EQ(enabled.status, 0) << home << enabled.errors;
    EXPECT_EQ(account.run({"--remove-unattended"}, path(home)).status, 0) << home;
  }
  const auto refused = account.run({"--install-unattended", "--name", "x"}, account.home(),
                                   {"env", "HOME=" + path("outside").string()});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.errors, HasSubstr("Move Quorvin Support to Applications"));
}

TEST_F(InstallAttack, LeavesAnAccountAloneThatHasNothingInstalled) {
  for (const bool hasConfig : {false, true}) {
    const Account account(server.display());
    if (hasConfig) fs::create_directory(account.home() / ".config");
    std::vector<std::string> asStranger;
    if (getuid() == 0) {
      asStranger = {"setpriv", "--reuid=" + std::to_string(stranger),
                    "--regid=" + std::to_string(stranger), "--clear-groups"};
      fs::permissions(account.harness.folder.path(), fs::perms(0755));
    }
    // Nobody may write anything, not even the one that the account belongs to.
    for (const auto& folder : {account.home() / ".config", account.home()}) {
      if (!fs::exists(folder)) continue;
      ASSERT_TRUE(getuid() != 0 || chown(folder.c_str(), stranger, stranger) == 0);
      fs::permissions(folder, fs::perms(0500));
    }
    const auto before = account.everything();
    const auto removed = account.run({"--remove-unattended"}, account.home(), asStranger);
    EXPECT_EQ(removed.status, 0) << removed.errors;
    EXPECT_EQ(account.run({"--status-unattended"}, account.home(), asStranger).status, 0);
    fs::permissions(account.home(), fs::perms(0700));
    EXPECT_EQ(account.disable().status, 0);
    EXPECT_EQ(account.everything(), before);
  }
}

// Has each command answer, with every thing in that place one after the other.
void putThingsInto(const fs::path& place, const Account& account) {
  using Put = std::function<void()>;
  const std::vector<Put> things{[&] { ASSERT_EQ(mkfifo(place.c_str(), 0600), 0); },
                                [&] { fs::create_directory(place); },
                                [&] { fs::create_symlink("nowhere/at/all", place); },
                                [&] { fs::create_symlink("/dev/zero", place); },
                                [&] {
                                  std::ofstream(place) << "\x01 [ no settings, no list";
                                  fs::resize_file(place, std::uintmax_t{1} << 40);
                                }};
  for (std::size_t thing = 0; thing < things.size(); ++thing) {
    SCOPED_TRACE(place.string() + " " + std::to_string(thing));
    for (const auto* folder : {".config", "Library", ".local"}) {
      fs::remove_all(account.home() / folder);
    }
    fs::create_directories(place.parent_path());
    things[thing]();
    const auto installed = account.enable();
    EXPECT_EQ(installed.status, installed.output.empty() ? 1 : 0);
    EXPECT_TRUE(installed.status == 0 || !installed.errors.empty());
    EXPECT_EQ(account.isEnabled(), installed.status == 0);
    if (installed.status == 0) account.expectConsistent();
    const auto removed = account.disable();
    EXPECT_TRUE(removed.status == 0 || removed.errors.find("could not be") != std::string::npos)
        << removed.errors;
    EXPECT_FALSE(account.isEnabled());
  }
}

TEST_F(InstallAttack, EndsWithAWordWhateverLiesInThePlaceOfItsFiles) {
  using Place = std::function<fs::path(const Account&)>;
  const std::vector<Place> places{
      [](const Account& account) { return account.settings(); },
      [](const Account& account) { return account.settingsLock(); },
      [](const Account& account) { return account.agentFile(); },
      [](const Account& account) { return account.agentFile().parent_path(); },
      [](const Account& account) {
        return account.registryFolder();
      }};
  // All copies are there before the first command starts: a process that starts meanwhile has the
  // file open for writing until its own program runs, and an open file cannot be run.
  std::deque<Account> accounts;
  for (std::size_t made = 0; made < places.size(); ++made) accounts.emplace_back(server.display());
  std::vector<std::future<void>> attacks;
  attacks.reserve(places.size());
  for (std::size_t index = 0; index < places.size(); ++index) {
    attacks.push_back(std::async(std::launch::async, [&account = accounts[index], index, &places] {
      putThingsInto(places[index](account), account);
    }));
  }
  for (auto& attack : attacks) attack.get();
}

TEST_F(InstallAttack, LeavesNothingBehindWhenFilesCannotGrow) {
  const Account account(server.display());
  for (const auto* most : {"0", "60", "300", "500"}) {
    const auto run = account.run({"--install-unattended", "--name", "x"}, account.home(),
                                 {"prlimit", std::string("--fsize=") + most});
    EXPECT_EQ(run.status, 1) << most;
    EXPECT_THAT(run.errors, HasSubstr("Quorvin unattended access error: ")) << most;
    account.expectDisabled();
  }
}

}  // namespace
}  // namespace quorvin
