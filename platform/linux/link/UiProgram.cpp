#include "platform/linux/link/UiProgram.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <utility>

#include "platform/unix/MainLoopSource.h"

namespace quorvin {

namespace {

constexpr int programsDescriptor = 3;
constexpr auto endTimeout = std::chrono::seconds(2);

[[noreturn]] void refuse(const std::string& reason) {
  throw StartUpError(std::string(uiDescriptorVariable) + " " + reason + ".");
}

int parseNumber(const std::string& text) {
  int number = -1;
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < 0) refuse("is not a descriptor number");
  return number;
}

int socketOption(int descriptor, int option) {
  int value = 0;
  socklen_t size = sizeof(value);
  if (::getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0) return value;
  refuse(errno == EBADF ? "names no open descriptor" : "does not name a socket");
}

std::pair<FileDescriptor, FileDescriptor> makeSocketPair() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw StartUpError(
        "The link to the user interface cannot be made: " + std::string(g_strerror(errno)) + ".");
  }
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

GlibPtr<GSubprocess> spawn(const std::string& program, FileDescriptor programsEnd) {
  const GlibPtr<GSubprocessLauncher> launcher(g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_NONE));
  g_subprocess_launcher_take_fd(launcher.get(), programsEnd.release(), programsDescriptor);
  g_subprocess_launcher_setenv(launcher.get(), uiDescriptorVariable,
                               std::to_string(programsDescriptor).c_str(), TRUE);
  const std::array<const gchar*, 2> arguments{program.c_str(), nullptr};
  GError* error = nullptr;
  GlibPtr<GSubprocess> process(
      g_subprocess_launcher_spawnv(launcher.get(), arguments.data(), &error));
  if (process != nullptr) return process;
  const GlibPtr<GError> why(error);
  throw StartUpError("The user interface cannot be started: " + std::string(why->message) + ".");
}

}  // namespace

FileDescriptor takeInheritedUiSocket(const std::string& text) {
  const int number = parseNumber(text);
  if (socketOption(number, SO_TYPE) != SOCK_STREAM) refuse("does not name a stream socket");
  sockaddr_storage peer{};
  socklen_t size = sizeof(peer);
  if (::getpeername(number, reinterpret_cast<sockaddr*>(&peer), &size) != 0) {
    refuse("does not name a connected socket");
  }
  FileDescriptor socket(number);
  if (::fcntl(number, F_SETFD, FD_CLOEXEC) != 0) refuse("names a descriptor that is of no use");
  return socket;
}

UiProgram::UiProgram(const std::string& program) {
  auto [hostsEnd, programsEnd] = makeSocketPair();
  process = spawn(program, std::move(programsEnd));
  socket = std::move(hostsEnd);
}

UiProgram::~UiProgram() {
  socket.reset();
  end(endTimeout);
}

bool UiProgram::end(std::chrono::milliseconds timeout) {
  if (hasEndedWithin(timeout)) return g_subprocess_get_successful(process.get()) == FALSE;
  g_subprocess_send_signal(process.get(), SIGTERM);
  if (hasEndedWithin(timeout)) return false;
  g_subprocess_force_exit(process.get());
  g_subprocess_wait(process.get(), nullptr, nullptr);
  return false;
}

bool UiProgram::hasEndedWithin(std::chrono::milliseconds timeout) {
  // A loop of its own, so that nothing else of the application runs meanwhile.
  struct Waiting {
    GlibPtr<GMainContext> context{g_main_context_new()};
    bool ended = false;
    bool answered = false;
  } waiting;
  auto* context = waiting.context.get();
  const GlibPtr<GCancellable> cancellable(g_cancellable_new());
  g_main_context_push_thread_default(context);
  g_subprocess_wait_async(
      process.get(), cancellable.get(),
      [](GObject* object, GAsyncResult* result, gpointer data) noexcept {
        auto& answer = *static_cast<Waiting*>(data);
        answer.ended = g_subprocess_wait_finish(G_SUBPROCESS(object), result, nullptr) != FALSE;
        answer.answered = true;
      },
      &waiting);
  const auto timer = MainLoopSource::onTimeout(context, timeout, [&cancellable] {
    g_cancellable_cancel(cancellable.get());
    return MainLoopSource::Next::finished;
  });
  while (!waiting.answered) g_main_context_iteration(context, TRUE);
  g_main_context_pop_thread_default(context);
  return waiting.ended;
}

}  // namespace quorvin
