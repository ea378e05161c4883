#include "platform/linux/system/ProcessTask.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/linux/system/PosixError.h"

namespace quorvin {
namespace {

constexpr auto nullDevice = "/dev/null";

// Where a new process' standard handles lead: nowhere.
class NullHandles {
 public:
  NullHandles() {
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, nullDevice, O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, nullDevice, O_WRONLY, 0);
  }
  NullHandles(const NullHandles&) = delete;
  NullHandles& operator=(const NullHandles&) = delete;
  ~NullHandles() { posix_spawn_file_actions_destroy(&actions); }

  [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions; }

 private:
  posix_spawn_file_actions_t actions{};
};

// A new process starts as if nobody here had ever touched a signal.
class PlainSignals {
 public:
  PlainSignals() {
    posix_spawnattr_init(&attributes);
    sigset_t set;
    sigfillset(&set);
    posix_spawnattr_setsigdefault(&attributes, &set);
    sigemptyset(&set);
    posix_spawnattr_setsigmask(&attributes, &set);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  PlainSignals(const PlainSignals&) = delete;
  PlainSignals& operator=(const PlainSignals&) = delete;
  ~PlainSignals() { posix_spawnattr_destroy(&attributes); }

  [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes; }

 private:
  posix_spawnattr_t attributes{};
};

// The argument vector that exec takes: pointers to the texts, and a null.
std::vector<char*> argumentVector(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::int32_t waitForEnd(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

std::int32_t runProgram(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<std::string> texts{path};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  const auto vector = argumentVector(texts);
  pid_t process = 0;
  const int error = posix_spawn(&process, path.c_str(), NullHandles().get(), PlainSignals().get(),
                                vector.data(), environ);
  if (error != 0) throw posixError(path, "started", error);
  return waitForEnd(process);
}

}  // namespace quorvin
