#include "platform/linux/input/GuardianJournal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include "platform/unix/SpawnSetup.h"

namespace quorvin {

namespace {

// Each message is kept whole, and a write to a reader who is gone is an error, not a signal.
struct SocketPair {
  FileDescriptor own;
  FileDescriptor guardians;
};

SocketPair makeSocketPair() {
  std::array<int, 2> ends{-1, -1};
  ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data());
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

bool sendWhole(int socket, std::span<const std::uint8_t> message) {
  return ::send(socket, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL) ==
         static_cast<ssize_t>(message.size());
}

}  // namespace

std::unique_ptr<GuardianProcess> GuardianProcess::start(const std::string& program,
                                                        std::span<const std::uint8_t> message) {
  auto sockets = makeSocketPair();
  if (!sockets.own.isOpen()) return nullptr;
  if (!message.empty() && !sendWhole(sockets.own.get(), message)) return nullptr;
  std::string name = program;
  const std::array<char*, 2> arguments{name.data(), nullptr};
  pid_t process = 0;
  SpawnSetup setup;
  // The socket as standard input, standard error as it is, and nothing else that is open here: what
  // a child keeps open never ends for those on the other side.
  posix_spawn_file_actions_adddup2(&setup.actions, sockets.guardians.get(), STDIN_FILENO);
  posix_spawn_file_actions_addopen(&setup.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addclosefrom_np(&setup.actions, STDERR_FILENO + 1);
  posix_spawnattr_setflags(&setup.attributes, SpawnSetup::flags | POSIX_SPAWN_SETSID);
  const int error = posix_spawn(&process, program.c_str(), &setup.actions, &setup.attributes,
                                arguments.data(), environ);
  if (error != 0) return nullptr;
  return std::unique_ptr<GuardianProcess>(
      new GuardianProcess(process, std::move(sockets.own)));  // NOLINT: the constructor is private
}

bool GuardianProcess::isReadyWithin(std::chrono::milliseconds limit) {
  if (isReady) return true;
  pollfd source{.fd = socket.get(), .events = POLLIN, .revents = 0};
  while (::poll(&source, 1, static_cast<int>(limit.count())) < 0 && errno == EINTR) {
  }
  std::uint8_t said = 0;
  isReady = ::recv(socket.get(), &said, sizeof said, MSG_DONTWAIT) == sizeof said;
  return isReady;
}

bool GuardianProcess::send(std::span<const std::uint8_t> message) {
  return sendWhole(socket.get(), message);
}

void GuardianProcess::kill() {
  // The socket stays open until then.
  ::kill(process, SIGKILL);
  while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
  socket.reset();
}

void GuardianJournal::prepare() {
  if (guardian == nullptr) start();
}

bool GuardianJournal::willPressButton(std::uint8_t button) {
  return announce({InputChange::pressButton, button});
}

bool GuardianJournal::willPressKey(std::uint8_t keycode) {
  return announce({InputChange::pressKey, keycode});
}

bool GuardianJournal::willBindKey(std::uint8_t keycode) {
  return announce({InputChange::bindKey, keycode});
}

void GuardianJournal::didUnbindKey(std::uint8_t keycode) {
  const InputRecord record{InputChange::unbindKey, keycode};
  held.note(record);
  static_cast<void>(tell(journalMessage(record)));
}

bool GuardianJournal::announce(InputRecord record) {
  const auto message = journalMessage(record);
  if (!tell(message)) {
    prepare();
    if (!tell(message)) return false;
  }
  const auto timeLeft = std::chrono::ceil<std::chrono::milliseconds>(readyBy - Clock::now());
  if (!guardian->isReadyWithin(std::max(timeLeft, {}))) return false;
  held.note(record);
  return true;
}

bool GuardianJournal::tell(const JournalMessage& message) {
  if (guardian == nullptr) return false;
  if (guardian->send(message)) return true;
  lose();
  return false;
}

void GuardianJournal::start() {
  const auto now = Clock::now();
  if (now < mayStart) return;
  mayStart = std::max(mayStart + startInterval, now);
  guardian = GuardianProcess::start(program, held.asMessage());
  if (guardian == nullptr) return;
  readyBy = now + readyTimeout;
  lossWatch = MainLoopSource::onDescriptor(context, guardian->descriptor(), G_IO_HUP, [this] {
    lose();
    return MainLoopSource::Next::finished;
  });
}

void GuardianJournal::lose() {
  lossWatch.cancel();
  // One that is only stuck would take the end of its socket for the end of this process.
  guardian->kill();
  guardian.reset();
  if (held.isEmpty()) return;
  start();
  if (guardian != nullptr) return;
  const auto pause = std::chrono::ceil<std::chrono::milliseconds>(mayStart - Clock::now());
  nextStart =
      MainLoopSource::onTimeout(context, std::max(pause, std::chrono::milliseconds(0)), [this] {
        if (guardian == nullptr && !held.isEmpty()) start();
        return MainLoopSource::Next::finished;
      });
}

}  // namespace quorvin
