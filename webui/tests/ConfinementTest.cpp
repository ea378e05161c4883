#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <future>
#include <string>
#include <thread>

#include "tests/TemporaryFolder.h"
#include "webui/Confinement.h"

namespace quorvin::webui {
namespace {

constexpr int good = 0;

// What the work returns in a process of its own; 128 + n when signal n ended that.
int statusIn(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) _exit(work());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// The error of a call in a confined process; 0 when it succeeds.
int errorOf(const std::function<bool()>& call, Network network = Network::none) {
  return statusIn([&] {
    confine(network);
    return call() ? good : errno;
  });
}

bool startProgram() {
  execl("/bin/true", "true", nullptr);
  return false;
}

int openFor(int flags) {
  constexpr mode_t mode = 0600;  // without one the library ends a program that asks for O_CREAT
  return open("/dev/null", flags | O_CLOEXEC, mode);
}

TEST(Confinement, StartsNoProgramsAndNoProcesses) {
  EXPECT_EQ(errorOf(startProgram), EPERM);
  EXPECT_EQ(errorOf([] { return fork() >= 0; }), EPERM);
  EXPECT_EQ(errorOf([] { return vfork() >= 0; }), EPERM);
}

TEST(Confinement, HoldsForThreadsThatWereThereBefore) {
  const int error = statusIn([] {
    std::promise<void> confined;
    std::promise<int> result;
    std::thread earlier([&] {
      confined.get_future().wait();
      startProgram();
      result.set_value(errno);
    });
    confine();
    confined.set_value();
    earlier.join();
    return result.get_future().get();
  });
  EXPECT_EQ(error, EPERM);
}

TEST(Confinement, LeavesOtherProcessesAlone) {
  EXPECT_EQ(errorOf([] { return kill(getppid(), 0) == 0; }), EPERM);
  EXPECT_EQ(errorOf([] { return ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr) == 0; }), EPERM);
  EXPECT_EQ(errorOf([] {
              rlimit limit{};
              return prlimit(getppid(), RLIMIT_NOFILE, nullptr, &limit) == 0;
            }),
            EPERM);
}

TEST(Confinement, OpensNoSockets) {
  EXPECT_EQ(errorOf([] { return socket(AF_INET, SOCK_STREAM, 0) >= 0; }), EPERM);
  EXPECT_EQ(errorOf([] { return socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }), EPERM);
}

TEST(Confinement, ChangesNoFiles) {
  for (const int flags : {O_WRONLY, O_RDWR, O_CREAT, O_TRUNC}) {
    EXPECT_EQ(errorOf([flags] { return openFor(flags) >= 0; }), EPERM) << flags;
  }
  EXPECT_EQ(errorOf([] { return rename("/tmp/not there", "/tmp/there") == 0; }), EPERM);
  EXPECT_EQ(errorOf([] { return chmod("/tmp/not there", 0) == 0; }), EPERM);
}

TEST(Confinement, KeepsOutOfPartsOfTheKernel) {
  EXPECT_EQ(errorOf([] { return unshare(CLONE_NEWUSER) == 0; }), EPERM);
  EXPECT_EQ(errorOf([] { return chroot("/") == 0; }), EPERM);
}

TEST(Confinement, StillHasThreadsFilesToReadAndItsOwnEnd) {
  EXPECT_EQ(errorOf([] {
              std::thread([] {}).join();
              rlimit limit{};
              return openFor(O_RDONLY) >= 0 && getrlimit(RLIMIT_NOFILE, &limit) == 0 &&
                     unlink("/tmp/not there") != 0 && errno == ENOENT;
            }),
            good);
  EXPECT_EQ(statusIn([] {
              confine();
              abort();
              return good;
            }),
            128 + SIGABRT);
}

TEST(Confinement, LimitsDescriptorsAndMemory) {
  EXPECT_EQ(errorOf([] {
              while (openFor(O_RDONLY) >= 0) {
                if (openFor(O_RDONLY) > 256) return true;
              }
              return false;
            }),
            EMFILE);
  EXPECT_EQ(statusIn([] {
              confine();
              constexpr std::size_t twoGib = std::size_t{2} << 30U;
              return malloc(twoGib) == nullptr ? errno : good;  // NOLINT: whether it can be had
            }),
            ENOMEM);
}

int errorWithNetworkOf(const std::function<bool()>& call) {
  return errorOf(call, Network::outgoing);
}

TEST(Confinement, LetsConnectionsOutOverTheNetworkOnly) {
  EXPECT_EQ(errorWithNetworkOf([] {
              const int made = socket(AF_INET6, SOCK_STREAM, 0);
              sockaddr_in6 nobody{};
              nobody.sin6_family = AF_INET6;
              nobody.sin6_addr = in6addr_loopback;
              return connect(made, reinterpret_cast<sockaddr*>(&nobody), sizeof nobody) == 0;
            }),
            ECONNREFUSED);
  EXPECT_EQ(errorWithNetworkOf([] { return socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }), EPERM);
  EXPECT_EQ(errorWithNetworkOf([] {
              const int made = socket(AF_INET, SOCK_STREAM, 0);
              sockaddr_in any{};
              any.sin_family = AF_INET;
              if (bind(made, reinterpret_cast<sockaddr*>(&any), sizeof any) != 0) return true;
              return listen(made, 1) == 0;
            }),
            EPERM);
  EXPECT_EQ(errorWithNetworkOf(startProgram), EPERM);
}

TEST(Confinement, ReadsWithANetworkOnlyWhatHostsAreFoundBy) {
  if (syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 0) {
    GTEST_SKIP() << "this kernel has no Landlock";
  }
  EXPECT_EQ(errorWithNetworkOf([] { return open("/etc/hosts", O_RDONLY) >= 0; }), good);
  const TemporaryFolder folder;
  const auto file = folder.write("mine", "");
  EXPECT_EQ(errorWithNetworkOf([&] { return open(file.c_str(), O_RDONLY) >= 0; }), EACCES);
  EXPECT_EQ(errorWithNetworkOf([&] { return unlink(file.c_str()) == 0; }), EACCES);
  EXPECT_EQ(errorWithNetworkOf([] { return open("/proc/self/maps", O_RDONLY) >= 0; }), EACCES);
}

}  // namespace
}  // namespace quorvin::webui
