#include "platform/linux/input/InputEvents.h"

#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <system_error>
#include <utility>

#include "platform/Error.h"
#include "platform/linux/input/LinuxInputEvent.h"

namespace quorvin {

namespace {

Rect rectOf(const PixelRect& area) {
  return {{static_cast<double>(area.x), static_cast<double>(area.y)},
          {static_cast<double>(area.width), static_cast<double>(area.height)}};
}

// XTEST always speaks for a device of its own, so that there is nothing to say about it.
class LinuxEventSource final : public EventSource {};

std::shared_ptr<InputEvent> make(LinuxInputEvent::Record record) {
  return std::make_shared<LinuxInputEvent>(record);
}

}  // namespace

InputThread::InputThread(std::string display, InputJournal& journal, GMainContext* context)
    : display(std::move(display)),
      journal(journal),
      context(context != nullptr ? g_main_context_ref(context) : g_main_context_new()) {}

InputThread::~InputThread() {
  endWithin(std::chrono::milliseconds(0));
  if (thread.joinable()) thread.join();
}

void InputThread::open() {
  if (display.empty()) return;
  {
    const MutexLock lock(mutex);
    if (calls.isEnding) return;
    calls.isConnectionWanted = true;
  }
  wake();
  if (thread.joinable()) return;
  try {
    thread = std::thread([this] { run(); });
  } catch (const std::system_error& error) {
    const MutexLock lock(mutex);
    queue.clear();
    if (!std::exchange(hasFailed, true)) {
      std::fprintf(stderr, "quorvin-support: no remote input: %s\n", error.what());
    }
  }
}

bool InputThread::isReady() {
  const MutexLock lock(mutex);
  return display.empty() || hasTried || hasFailed;
}

void InputThread::post(const LinuxInputEvent::Record& record) {
  {
    const MutexLock lock(mutex);
    if (calls.isEnding || display.empty()) return;
    queue.push(record);
  }
  open();
}

std::optional<Rect> InputThread::boundsOf(DisplayID id) {
  {
    const MutexLock lock(mutex);
    const auto found = std::ranges::find(monitors, id, &X11Monitor::id);
    if (found != monitors.end()) return rectOf(found->area);
    if (isConnected) return {};
  }
  open();
  return {};
}

bool InputThread::sync(std::chrono::milliseconds limit) {
  open();
  if (!thread.joinable()) return false;
  MutexLock lock(mutex);
  const auto asked = ++calls.syncsAsked;
  wake();
  return changed.wait_for(lock.forWaiting(), limit,
                          [&]() QUORVIN_REQUIRES(mutex) { return syncsDone >= asked || hasEnded; });
}

bool InputThread::endWithin(std::chrono::milliseconds limit) {
  MutexLock lock(mutex);
  calls.isEnding = true;
  wake();
  return !thread.joinable() ||
         changed.wait_for(lock.forWaiting(), limit,
                          [this]() QUORVIN_REQUIRES(mutex) { return hasEnded; });
}

void InputThread::run() {
  pthread_setname_np(pthread_self(), "RemoteInput");
  for (bool isEnding = false; !isEnding;) {
    const auto asked = takeCalls();
    takeNews();
    if (injector == nullptr && asked.isConnectionWanted) connect();
    if (const auto record = takeRecord()) {
      carryOut(*record);
      continue;
    }
    answer(asked.syncsAsked);
    isEnding = asked.isEnding;
    if (!isEnding) g_main_context_iteration(context.get(), TRUE);
  }
  disconnect();
  const MutexLock lock(mutex);
  hasEnded = true;
  changed.notify_all();
}

InputThread::Calls InputThread::takeCalls() {
  const MutexLock lock(mutex);
  auto taken = calls;
  calls.isConnectionWanted = false;
  if (!queue.isEmpty()) taken.isConnectionWanted = true;
  return taken;
}

std::optional<LinuxInputEvent::Record> InputThread::takeRecord() {
  const MutexLock lock(mutex);
  if (injector == nullptr) return {};
  return queue.take();
}

void InputThread::answer(std::uint64_t syncs) {
  const MutexLock lock(mutex);
  syncsDone = syncs;
  changed.notify_all();
}

void InputThread::connect() {
  const auto begin = Clock::now();
  try {
    connection = std::make_unique<X11Connection>(display);
    injector = std::make_unique<InputInjector>(*connection, journal);
    // The first event of a session may already ask for them.
    publish(true, injector->displays());
    injector->prepare();
  } catch (const Error&) {
    // That there is no connection is all there is to know about it.
  }
  if (connection == nullptr || connection->isBroken()) {
    leaveConnection();
    const MutexLock lock(mutex);
    return queue.clear();
  }
  injector->takeOver(std::exchange(pendingReleases, {}));
  // Whatever the server sends ends a wait; what it is, is read afterwards.
  serverWatch = MainLoopSource::onDescriptor(context.get(), connection->descriptor(), G_IO_IN,
                                             [] { return MainLoopSource::Next::again; });
  forgetIfHung(begin);
}

void InputThread::disconnect() {
  if (injector != nullptr) pendingReleases = injector->pendingReleases();
  leaveConnection();
}

void InputThread::leaveConnection() {
  serverWatch.cancel();
  injector.reset();
  connection.reset();
  publish(false, {});
}

void InputThread::takeNews() {
  if (injector == nullptr) return;
  try {
    if (injector->takeNews()) publish(true, injector->displays());
  } catch (const Error&) {
    // The connection broke.
  }
  if (connection->isBroken()) disconnect();
}

void InputThread::carryOut(const LinuxInputEvent::Record& record) {
  const auto begin = Clock::now();
  injector->post(record);
  while (!injector->isCarriedOut()) g_main_context_iteration(context.get(), TRUE);
  forgetIfHung(begin);
}

void InputThread::forgetIfHung(Clock::time_point begin) {
  if (Clock::now() - begin < hangsAfter) return;
  const MutexLock lock(mutex);
  queue.forgetNews();
}

void InputThread::publish(bool connected, std::vector<X11Monitor> found) {
  const MutexLock lock(mutex);
  hasTried = true;
  isConnected = connected;
  monitors = std::move(found);
}

LinuxInputEvents::LinuxInputEvents(std::string display, InputJournal& journal,
                                   GMainContext* context)
    : thread(std::move(display), journal, context) {}

std::shared_ptr<EventSource> LinuxInputEvents::createSource(EventSourceState /*state*/) {
  return std::make_shared<LinuxEventSource>();
}

std::shared_ptr<InputEvent> LinuxInputEvents::createMouseEvent(
    const std::shared_ptr<EventSource>& /*source*/, MouseEventType type, Point position,
    MouseButton button) {
  if (!std::isfinite(position.x) || !std::isfinite(position.y)) return nullptr;
  return make(MouseRecord{type, position, button});
}

std::shared_ptr<InputEvent> LinuxInputEvents::createScrollWheelEvent(
    const std::shared_ptr<EventSource>& /*source*/, ScrollEventUnit /*units*/,
    std::uint32_t wheelCount, std::int32_t wheel1, std::int32_t wheel2, std::int32_t /*wheel3*/) {
  return make(ScrollRecord{wheelCount > 0 ? wheel1 : 0, wheelCount > 1 ? wheel2 : 0});
}

std::shared_ptr<InputEvent> LinuxInputEvents::createKeyboardEvent(
    const std::shared_ptr<EventSource>& /*source*/, std::uint16_t virtualKey, bool keyDown) {
  return make(KeyRecord{virtualKey, keyDown});
}

void LinuxInputEvents::post(EventTapLocation /*tap*/, const std::shared_ptr<InputEvent>& event) {
  const auto made = std::dynamic_pointer_cast<LinuxInputEvent>(event);
  if (made) thread.post(made->record);
}

bool LinuxInputEvents::displayIsActive(DisplayID display) {
  return thread.boundsOf(display).has_value();
}

Rect LinuxInputEvents::displayBounds(DisplayID display) {
  return thread.boundsOf(display).value_or(Rect{});
}

}  // namespace quorvin
