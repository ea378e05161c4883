#include "platform/linux/ui/Application.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/linux/dispatch/Dispatch.h"
#include "platform/linux/link/UiProgram.h"
#include "platform/linux/ui/NotificationCenter.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin {
namespace {

constexpr auto programVariable = "QUORVIN_UI";
constexpr auto programBesideHost = "quorvin-webui";
constexpr int startUpErrorStatus = 1;
constexpr int restartStatus = 1;
constexpr int uiFailureStatus = 1;
constexpr auto uiProgramTimeout = std::chrono::seconds(2);
constexpr auto servicesTimeout = std::chrono::milliseconds(500);
// Together with GTK's own end, what is stuck may hold up neither a start nor an end for two
// seconds.
constexpr auto reportTimeout = std::chrono::seconds(1);
constexpr auto displayTimeout = std::chrono::seconds(10);

std::string uiProgramName() {
  auto name = environmentVariable(programVariable);
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

LinuxApplication::LinuxApplication(GMainContext* context, LinuxDispatch& dispatch,
                                   LinuxNotificationCenter& notificationCenter,
                                   Surroundings surroundings)
    : context(context),
      dispatch(dispatch),
      notificationCenter(notificationCenter),
      surroundings(std::move(surroundings)) {}

LinuxApplication::~LinuxApplication() = default;

int LinuxApplication::run(int /*argc*/, char** /*argv*/, ApplicationFactories factories) {
  delegate = factories.makeDelegate();
  isMade = true;
  handleSignals();
  try {
    startGtk();
    if (!exitStatus) load(factories, connectUserInterface());
  } catch (const StartUpError& error) {
    failToStart(error);
  } catch (const std::system_error& error) {
    failToStart(
        StartUpError(std::string("The system refuses what a start needs: ") + error.what()));
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
    signals.at(next++) = MainLoopSource::onSignal(context, signal, [this] {
      end(EXIT_SUCCESS);
      return MainLoopSource::Next::again;
    });
  }
}

// Most displays are there at once, and then nothing is loaded in vain. While this waits for
// another, signals are heard.
void LinuxApplication::startGtk() {
  gtk = std::make_unique<GtkThread>([this, mainQueue = dispatch.mainQueue()](bool wasOpen) {
    mainQueue->async([this, wasOpen] { displayLost(wasOpen); });
  });
  displayDeadline = MainLoopSource::onTimeout(context, displayTimeout, [this] {
    if (!gtk->isReady()) {
      failToStart(StartUpError("The display that DISPLAY names does not answer."));
    }
    return MainLoopSource::Next::finished;
  });
  runUntil([this] { return exitStatus || gtk->isReady(); });
  if (exitStatus) return;
  surroundings.begin();
  // A display that hangs has been waited for long enough.
  if (gtk->isReady()) runUntil([this] { return exitStatus || surroundings.isReady(); });
}

void LinuxApplication::displayLost(bool wasOpen) {
  displayDeadline.cancel();
  if (wasOpen && window != nullptr) return windowClosed();
  failToStart(StartUpError("A display that can be opened is needed; DISPLAY names none."));
}

void LinuxApplication::failToStart(const StartUpError& error) {
  if (!exitStatus) report(error);
  end(startUpErrorStatus);
}

FileDescriptor LinuxApplication::connectUserInterface() {
  if (const char* inherited = std::getenv(uiDescriptorVariable)) {
    try {
      return takeInheritedUiSocket(inherited);
    } catch (const std::runtime_error& error) {
      throw StartUpError(error.what());
    }
  }
  uiProgram = std::make_unique<UiProgram>(uiProgramName());
  return uiProgram->takeSocket();
}

void LinuxApplication::load(const ApplicationFactories& factories, FileDescriptor uiSocket) {
  window = std::make_unique<LinuxWindow>(
      *gtk, dispatch.mainQueue(), notificationCenter,
      LinuxWindow::Callbacks{.onClose = [this] { windowClosed(); },
                             .onStateChange =
                                 [this](const WindowState& former, const WindowState& now) {
                                   windowChanged(former, now);
                                 }});
  mainWindow = factories.makeMainWindow(*window);
  // A GTK window has nothing more to do when it has been loaded.
  mainWindow->awakeFromNib([] {});
  delegate->applicationDidFinishLaunching([] {});  // GTK has no part of its own in it
  window->showAfterLoading();
  if (const auto controller = window->engineController()) {
    controller->runEngine(context, std::move(uiSocket), [this] { linkClosed(); });
  }
}

void LinuxApplication::runLoop() {
  const GlibPtr<GMainLoop> running(g_main_loop_new(context, FALSE));
  loop = running.get();
  g_main_loop_run(loop);
  loop = nullptr;
}

void LinuxApplication::windowClosed() {
  window->orderOut();
  if (delegate->applicationShouldTerminateAfterLastWindowClosed()) end(EXIT_SUCCESS);
}

void LinuxApplication::windowChanged(const WindowState& former, const WindowState& now) {
  for (const auto name : applicationNotifications(former, now)) {
    notificationCenter.post(name, *this);
  }
}

void LinuxApplication::linkClosed() {
  uiLeftFirst = !exitStatus;
  end(delegate->applicationShouldTerminateAfterLastWindowClosed() ? EXIT_SUCCESS : restartStatus);
}

void LinuxApplication::end(int status) {
  if (exitStatus) return;
  exitStatus = status;
  if (loop != nullptr) g_main_loop_quit(loop);
}

void LinuxApplication::finish() {
  using Clock = std::chrono::steady_clock;
  const auto servicesDeadline = Clock::now() + servicesTimeout;
  surroundings.endWithin(std::chrono::milliseconds(0));
  // What is under way on other threads, a start of the capture say, holds parts of the program
  // until it has reported back. All of it winds up on this thread, and before anything it needs.
  const auto used = letGoOfProgram();
  runUntil([&used] { return used.expired(); });
  dispatch.finish();
  displayDeadline.cancel();
  gtk.reset();
  surroundings.endWithin(
      std::chrono::duration_cast<std::chrono::milliseconds>(servicesDeadline - Clock::now()));
  endUserInterface();
  for (auto& signal : signals) signal.cancel();
  delegate.reset();
}

void LinuxApplication::endUserInterface() {
  if (uiProgram != nullptr && uiProgram->end(uiProgramTimeout) && uiLeftFirst) {
    report(
        StartUpError("The user interface has failed. If it says no more about that above, start "
                     "this program again."));
    exitStatus = uiFailureStatus;
  }
  uiProgram.reset();
}

// Returns what expires with the last of the program's channels.
std::weak_ptr<const LinuxMessenger> LinuxApplication::letGoOfProgram() {
  auto controller = window == nullptr ? nullptr : window->engineController();
  // The handlers hold the program's objects, so they go before the objects can.
  if (controller != nullptr) controller->shutDownEngine();
  mainWindow.reset();
  window.reset();
  return controller == nullptr ? std::weak_ptr<const LinuxMessenger>()
                               : controller->usedMessenger();
}

// Goes on serving the main context for as long as that takes, within reason.
void LinuxApplication::runUntil(const std::function<bool()>& condition) {
  bool isOverdue = false;
  const auto deadline = MainLoopSource::onTimeout(context, reportTimeout, [&isOverdue] {
    isOverdue = true;
    return MainLoopSource::Next::finished;
  });
  // What the condition waits for may happen on another thread, which wakes nobody here.
  const auto beat = MainLoopSource::onTimeout(context, std::chrono::milliseconds(5),
                                              [] { return MainLoopSource::Next::again; });
  while (!condition() && !isOverdue) g_main_context_iteration(context, TRUE);
}

bool LinuxApplication::isActive() {
  return window != nullptr && window->isKey();
}

void LinuxApplication::setActivationPolicy(ActivationPolicy policy) {
  if (window != nullptr) window->setInTaskbar(policy == ActivationPolicy::regular);
}

std::vector<Window*> LinuxApplication::windows() {
  if (window == nullptr) return {};
  return {window.get()};
}

}  // namespace quorvin
