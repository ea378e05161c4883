// Undoes what the host's synthetic input holds on the X server when the host is gone: the server
// does not, since it does not keep whose presses they were.
//
// Standard input is a socket on which the host tells what it presses, binds and undoes (see
// HeldInput.h), and whose end is the host's end, whichever way it came. One byte is sent back when
// this program is ready to do its part.

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <span>
#include <stdexcept>
#include <thread>

#include "guardian/InputDisplay.h"
#include "platform/unix/HeldInput.h"
#include "platform/unix/ProgramStart.h"

namespace {

using namespace quorvin;
using namespace quorvin::guardian;

constexpr int journal = STDIN_FILENO;
// Everything that can be held at once fits in.
constexpr std::size_t messageBytesMax = 4096;

// What the host has asked of the server last may still be on its way when the host is gone. Where
// the server does not tell the processes of its clients, nobody knows for how long.
constexpr auto timeWithoutKnowing = std::chrono::milliseconds(50);
constexpr auto pollInterval = std::chrono::milliseconds(10);
// A connection of the host's that stays for longer is one that another process shares.
constexpr int pollsMax = 100;

// Whoever ends a group of processes ends this one too early: the host may need it until its very
// end, which is this program's end as well.
void outliveSignals() {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) std::signal(signal, SIG_IGN);
}

// The process that made the socket, as the kernel remembers it after its end.
pid_t hostProcess() {
  ucred host{};
  socklen_t size = sizeof host;
  if (::getsockopt(journal, SOL_SOCKET, SO_PEERCRED, &host, &size) != 0) {
    throw std::runtime_error("is started by quorvin-support");
  }
  return host.pid;
}

void sayReady() {
  const std::uint8_t ready = 1;
  static_cast<void>(::send(journal, &ready, sizeof ready, MSG_NOSIGNAL));
}

// Takes the messages that have arrived. False once no more will come.
bool takeMessages(HeldInput& held) {
  std::array<std::uint8_t, messageBytesMax> message{};
  for (;;) {
    const auto size = ::recv(journal, message.data(), message.size(), MSG_DONTWAIT);
    // A host that ended before it read that this program is ready counts as a reset connection.
    // That is said once, and before the messages that it has left.
    if (size < 0 && (errno == EINTR || errno == ECONNRESET)) continue;
    if (size < 0) return errno == EAGAIN || errno == EWOULDBLOCK;
    if (size == 0) return false;
    held.note(std::span(message).first(static_cast<std::size_t>(size)));
  }
}

// Returns what is held at the host's end, or nothing when the display has ended before.
HeldInput waitForEnd(InputDisplay& display) {
  HeldInput held;
  std::array<pollfd, 2> sources{{{.fd = journal, .events = POLLIN, .revents = 0},
                                 {.fd = display.descriptor(), .events = POLLIN, .revents = 0}}};
  while (takeMessages(held)) {
    display.discardEvents();
    if (display.isBroken()) return {};
    ::poll(sources.data(), sources.size(), -1);
  }
  return held;
}

void waitUntilForgotten(InputDisplay& display, pid_t host) {
  if (!display.tellsProcesses()) return std::this_thread::sleep_for(timeWithoutKnowing);
  for (int poll = 0; poll < pollsMax && display.hasClient(host); ++poll) {
    std::this_thread::sleep_for(pollInterval);
  }
}

// Releases once, when nothing of the host's can come any more: the next host may be there already
// and press the same keys.
void undo(InputDisplay& display, const HeldInput& held, pid_t host) {
  waitUntilForgotten(display, host);
  display.release(held);
  display.unbind(held.boundKeys);
}

}  // namespace

int main() {
  outliveSignals();
  prepareProcess();
  try {
    const auto host = hostProcess();
    InputDisplay display;
    sayReady();
    const auto held = waitForEnd(display);
    if (!held.isEmpty()) undo(display, held, host);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorvin-input-guardian: %s\n", error.what());
    return 1;
  }
}
