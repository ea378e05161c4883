#include "platform/linux/Application.h"

#include <gtk/gtk.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/linux/Dispatch.h"
#include "platform/linux/StartUpError.h"

namespace quorvin {
namespace {

constexpr auto programVariable = "QUORVIN_UI";
constexpr auto programBesideHost = "quorvin-webui";
constexpr int startUpErrorStatus = 1;
constexpr int restartStatus = 1;
constexpr auto programPatience = std::chrono::seconds(2);
constexpr auto queuedTasksPatience = std::chrono::seconds(1);

std::optional<std::string> environmentValue(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::string uiProgramName() {
  auto name = environmentValue(programVariable).value_or(std::string());
  if (!name.empty()) return name;
  std::error_code unknown;
  return std::filesystem::read_symlink("/proc/self/exe", unknown)
      .replace_filename(programBesideHost);
}

// One line, whatever the environment put into the message.
void report(const StartUpError& error) {
  std::string line = error.what();
  for (auto& character : line) {
    if (g_ascii_iscntrl(character) != FALSE) character = ' ';
  }
  line = "quorvin-support: " + line + "\n";
  std::fputs(line.c_str(), stderr);
}

}  // namespace

LinuxApplication::LinuxApplication(LinuxDispatch& dispatch) : dispatch(dispatch) {}

LinuxApplication::~LinuxApplication() = default;

int LinuxApplication::run(int /*argc*/, char** /*argv*/, ApplicationFactories factories) {
  delegate = factories.makeDelegate();
  handleSignals();
  try {
    openDisplay();
    load(factories, connectUserInterface());
  } catch (const StartUpError& error) {
    report(error);
    end(startUpErrorStatus);
  }
  if (!exitStatus) runLoop();
  finish();
  return exitStatus.value_or(EXIT_SUCCESS);
}

// Before there is anything to wind up: a signal that comes while the application starts waits for
// the loop.
void LinuxApplication::handleSignals() {
  std::size_t next = 0;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    signals.at(next++) = MainLoopSource::onSignal(g_main_context_default(), signal, [this] {
      end(EXIT_SUCCESS);
      return MainLoopSource::Next::again;
    });
  }
}

void LinuxApplication::openDisplay() {
  // Capture and input need an X server, so the window is on that one too.
  gdk_set_allowed_backends("x11");
  // The program's numbers and messages do not follow the user's locale.
  gtk_disable_setlocale();
  // GTK gets no arguments: it would understand some of them itself.
  g_set_prgname("quorvin-support");
  if (gtk_init_check(nullptr, nullptr) == FALSE) {
    throw StartUpError("A display that can be opened is needed; DISPLAY names none.");
  }
  displayGuard.emplace(gdk_display_get_default());
}

FileDescriptor LinuxApplication::connectUserInterface() {
  if (const auto inherited = environmentValue(uiDescriptorVariable)) {
    return takeInheritedUiSocket(*inherited);
  }
  uiProgram = std::make_unique<UiProgram>(uiProgramName());
  return uiProgram->takeSocket();
}

void LinuxApplication::load(const ApplicationFactories& factories, FileDescriptor uiSocket) {
  window = std::make_unique<LinuxWindow>([this] { windowClosed(); });
  mainWindow = factories.makeMainWindow(*window);
  mainWindow->awakeFromNib();
  delegate->applicationDidFinishLaunching();
  window->showAfterLoading();
  if (const auto controller = window->engineController()) {
    controller->runEngine(g_main_context_default(), std::move(uiSocket), [this] { linkClosed(); });
  }
}

void LinuxApplication::runLoop() {
  const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> running(
      g_main_loop_new(g_main_context_default(), FALSE), &g_main_loop_unref);
  loop = running.get();
  g_main_loop_run(loop);
  loop = nullptr;
}

void LinuxApplication::windowClosed() {
  if (delegate->applicationShouldTerminateAfterLastWindowClosed()) end(EXIT_SUCCESS);
}

void LinuxApplication::linkClosed() {
  end(delegate->applicationShouldTerminateAfterLastWindowClosed() ? EXIT_SUCCESS : restartStatus);
}

void LinuxApplication::end(int status) {
  if (exitStatus) return;
  exitStatus = status;
  if (loop != nullptr) g_main_loop_quit(loop);
}

void LinuxApplication::finish() {
  // The handlers hold the program's objects, so they go before the objects can.
  const auto controller = window == nullptr ? nullptr : window->engineController();
  if (controller != nullptr) controller->shutDownEngine();
  mainWindow.reset();
  dispatch.finish();
  runQueuedTasks();
  window.reset();
  if (uiProgram != nullptr) uiProgram->end(programPatience);
  uiProgram.reset();
  for (auto& signal : signals) signal.cancel();
  delegate.reset();
}

// Tasks of the main queue may hold the last parts of the program, which must not outlive the run.
void LinuxApplication::runQueuedTasks() {
  const auto deadline = std::chrono::steady_clock::now() + queuedTasksPatience;
  // The main queue rests for one turn between two, so that one idle turn does not prove it empty.
  constexpr int idleTurnsThatProve = 2;
  int idleTurns = 0;
  while (idleTurns < idleTurnsThatProve && std::chrono::steady_clock::now() < deadline) {
    const bool hadWork = g_main_context_iteration(g_main_context_default(), FALSE) != FALSE;
    idleTurns = hadWork ? 0 : idleTurns + 1;
  }
}

void LinuxApplication::setActivationPolicy(ActivationPolicy policy) {
  if (window != nullptr) window->setInTaskbar(policy == ActivationPolicy::regular);
}

std::vector<Window*> LinuxApplication::windows() {
  if (window == nullptr) return {};
  return {window.get()};
}

}  // namespace quorvin
