#include "webui/HiddenBrowser.h"

#include <fcntl.h>
#include <glib.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>

#include "platform/unix/GlibPtr.h"
#include "platform/unix/ProgramStart.h"
#include "platform/unix/SpawnSetup.h"

extern "C" {  // glibc 2.36 does not say so itself
#include <sys/pidfd.h>
}

namespace quorvin::webui {

namespace {

constexpr int restMs = 5'000;      // before a browser is started again
constexpr int patienceMs = 3'000;  // for one that was asked to end

std::string program() {
  const auto named = environmentVariable("QUORVIN_HIDDEN_BROWSER");
  return named.empty() ? "chromium" : named;
}

// In this process group, so that an interrupt from a terminal reaches it. 0 without one.
pid_t start(const std::string& file) {
  const GlibPtr<char> uri(g_filename_to_uri(file.c_str(), nullptr, nullptr));
  if (!uri) return 0;
  std::array<std::string, 9> words = {
      program(),
      std::string("--user-data-dir=") + g_get_user_state_dir() + "/com.quorvin.support/browser",
      "--headless=new",
      "--no-first-run",
      "--no-default-browser-check",
      "--disable-background-networking",
      "--disable-component-update",
      "--disable-sync",
      uri.get()};
  std::array<char*, words.size() + 1> arguments{};
  std::ranges::transform(words, arguments.begin(), [](auto& word) { return word.data(); });
  SpawnSetup setup;
  // It has much to say that is nobody's concern.
  posix_spawn_file_actions_addopen(&setup.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&setup.actions, STDOUT_FILENO, STDERR_FILENO);
  posix_spawn_file_actions_addclosefrom_np(&setup.actions, STDERR_FILENO + 1);
  pid_t browser = 0;
  const int error = posix_spawnp(&browser, arguments[0], &setup.actions, &setup.attributes,
                                 arguments.data(), environ);
  return error == 0 ? browser : 0;
}

bool isReadable(const FileDescriptor& descriptor, int timeoutMs) {
  pollfd awaited{descriptor.get(), POLLIN, 0};
  return ::poll(&awaited, 1, timeoutMs) > 0;
}

void end(pid_t browser, const FileDescriptor& handle) {
  ::kill(browser, SIGTERM);
  if (!isReadable(handle, patienceMs)) ::kill(browser, SIGKILL);
}

// Whether it ended by itself.
bool outlive(pid_t browser, const FileDescriptor& untilClosed) {
  const FileDescriptor handle(::pidfd_open(browser, 0));
  std::array<pollfd, 2> awaited{{{untilClosed.get(), POLLIN, 0}, {handle.get(), POLLIN, 0}}};
  while (::poll(awaited.data(), awaited.size(), -1) < 0) continue;
  const bool closed = awaited[0].revents != 0;
  if (closed) end(browser, handle);
  ::waitpid(browser, nullptr, 0);
  return !closed;
}

}  // namespace

bool hasHiddenBrowser() {
  return GlibPtr<char>(g_find_program_in_path(program().c_str())) != nullptr;
}

void runHiddenBrowser(const std::string& file, const FileDescriptor& untilClosed) {
  do {
    const auto browser = start(file);
    if (browser == 0) {
      std::fprintf(
          stderr,
          "quorvin-webui: %s does not start, so that no supporter on another computer gets "
          "here; install Chromium, then start again\n",
          program().c_str());
      return;
    }
    if (!outlive(browser, untilClosed)) return;
  } while (!isReadable(untilClosed, restMs));
}

}  // namespace quorvin::webui
