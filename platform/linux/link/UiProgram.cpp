#include "platform/linux/link/UiProgram.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <tuple>
#include <utility>

#include "platform/unix/MainLoopSource.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin {

namespace {

constexpr int programsDescriptor = 3;
constexpr auto endTimeout = std::chrono::seconds(2);

std::pair<FileDescriptor, FileDescriptor> makeSocketPair() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw StartUpError(
        "The link to the user interface cannot be made: " + std::string(g_strerror(errno)) + ".");
  }
  // A frame that finds room in one piece rouses the user interface once. Some systems grant less.
  constexpr int bufferBytes = 1024 * 1024;
  std::ignore = ::setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &bufferBytes, sizeof bufferBytes);
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
