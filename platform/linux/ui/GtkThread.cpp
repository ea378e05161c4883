#include "platform/linux/ui/GtkThread.h"

#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>
#include <utility>

#include "platform/Mutex.h"

namespace quorvin {
namespace {

constexpr auto endTimeout = std::chrono::milliseconds(500);
constexpr auto backendVariable = "GDK_BACKEND";

// What GDK does at this point is end the process.
int stayAlive(Display* /*display*/) {
  return 0;
}

// Makes the process end without its libraries' exit handlers: those would destroy what a thread
// that was left behind still uses, and wait for locks that it holds.
void skipExitHandlers() {
  // Of all handlers the one that was added last runs first.
  ::on_exit(
      [](int status, void* /*data*/) {
        std::fflush(nullptr);
        ::_exit(status);
      },
      nullptr);
}

// Capture and input need an X server, so the window is on that one too. The variable would forbid
// that, and the browser is to find it as it was. It is only set where it is set already, which
// moves nothing in the environment that another thread may be reading.
bool initialize() {
  gdk_set_allowed_backends("x11");
  const char* variable = std::getenv(backendVariable);
  const std::string former = variable != nullptr ? variable : "";
  if (variable != nullptr) ::setenv(backendVariable, "x11", 1);
  // GTK gets no arguments: it would understand some of them itself.
  const bool isOpen = gtk_init_check(nullptr, nullptr) != FALSE;
  if (variable != nullptr) ::setenv(backendVariable, former.c_str(), 1);
  return isOpen;
}

bool openDisplay() {
  // The program's numbers and messages do not follow the user's locale.
  gtk_disable_setlocale();
  // Names the windows' class, by which desktops find the entry of an application.
  g_set_prgname("quorvin-support");
  return initialize();
}

}  // namespace

// Shared with the thread, which may have to be left behind.
class GtkThread::State {
 public:
  enum class Phase { starting, running, stuck, ended };

  explicit State(std::function<void(bool wasOpen)> onDisplayLost)
      : onDisplayLost(std::move(onDisplayLost)) {}

  void enter(Phase next) {
    const MutexLock lock(mutex);
    phase = next;
    changed.notify_all();
  }

  // The first phase that is not `former`, or `former` when the time is over.
  Phase waitWhile(Phase former, std::chrono::milliseconds timeout) {
    MutexLock lock(mutex);
    changed.wait_for(lock.forWaiting(), timeout,
                     [&]() QUORVIN_REQUIRES(mutex) { return phase != former; });
    return phase;
  }

  void push(std::function<void()> task) {
    const MutexLock lock(mutex);
    tasks.push_back(std::move(task));
  }

  void runNext() {
    std::function<void()> task;
    {
      const MutexLock lock(mutex);
      task = std::move(tasks.front());
      tasks.pop_front();
    }
    task();
  }

  const std::function<void(bool wasOpen)> onDisplayLost;

 private:
  Mutex mutex;
  std::condition_variable changed;
  Phase phase QUORVIN_GUARDED_BY(mutex) = Phase::starting;
  std::deque<std::function<void()>> tasks QUORVIN_GUARDED_BY(mutex);
};

// Xlib must not return into GDK, which would work on with answers it never got.
[[noreturn]] void GtkThread::stopForGood(State& state) {
  state.enter(State::Phase::stuck);
  state.onDisplayLost(true);
  while (true) std::this_thread::sleep_for(std::chrono::hours(24));
}

GtkThread::GtkThread(std::function<void(bool wasOpen)> onDisplayLost)
    : state(std::make_shared<State>(std::move(onDisplayLost))), thread(&GtkThread::run, state) {}

bool GtkThread::isReady() const {
  return state->waitWhile(State::Phase::starting, {}) == State::Phase::running;
}

void GtkThread::run(const std::shared_ptr<State>& state) {
  if (!openDisplay()) {
    state->enter(State::Phase::ended);
    return state->onDisplayLost(false);
  }
  XSetIOErrorHandler(&stayAlive);
  XSetIOErrorExitHandler(
      gdk_x11_get_default_xdisplay(),
      [](Display* /*display*/, void* lost) { stopForGood(*static_cast<State*>(lost)); },
      state.get());
  state->enter(State::Phase::running);
  gtk_main();
  state->enter(State::Phase::ended);
}

GtkThread::~GtkThread() {
  post([] { gtk_main_quit(); });
  if (state->waitWhile(State::Phase::running, endTimeout) == State::Phase::ended) {
    thread.join();
  } else {
    leaveBehind();
  }
}

void GtkThread::leaveBehind() {
  thread.detach();
  skipExitHandlers();
}

void GtkThread::post(std::function<void()> task) const {
  state->push(std::move(task));
  auto* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  // Runs on the thread, which keeps the state. An exception has no way through GLib's C frames.
  g_source_set_callback(
      source,
      [](gpointer kept) noexcept -> gboolean {
        static_cast<State*>(kept)->runNext();
        return G_SOURCE_REMOVE;
      },
      state.get(), nullptr);
  g_source_attach(source, nullptr);
  g_source_unref(source);
}

}  // namespace quorvin
