#include "tests/simulation/SessionWorld.h"

#include <algorithm>
#include <utility>

namespace quorvin::simulation {

namespace {

constexpr std::uint64_t millisecond = 1'000'000;
constexpr auto hostChannel = "com.quorvin.support/host";
constexpr auto frameChannel = "com.quorvin.support/frames";
constexpr int framesPerSession = 1 << 16;

using fakes::FakeSample;

Value pictureSettings(bool valid) {
  return Map{{"profile", valid ? "fast" : "unknown"},
             {"show_cursor", true},
             {"codec", "h264"},
             {"max_width", 800},
             {"max_height", 600},
             {"fps", 10},
             {"bitrate_mbps", 2},
             {"jpeg_quality", 60},
             {"queue_depth", 2}};
}

std::uint32_t contentOf(const Data& frame) {
  if (frame.bytes()[0] != 'Q') return fakes::FakeImageEncoder::contentOf(frame);
  return fakes::FakeEncodedFrame::readFromEnd(frame.bytes()).content;
}

std::string describe(const FlutterReply& reply) {
  if (const auto* error = std::get_if<FlutterError>(&reply)) return error->code;
  return std::holds_alternative<Value>(reply) ? "success" : "not implemented";
}

}  // namespace

SessionWorld::SessionWorld(std::uint64_t seed)
    : machine(seed, /*randomLeeway=*/true),
      bridge(QuorvinHostBridge::make(machine.platform, machine.flutter.messenger)),
      weakBridge(bridge) {
  // Runs differ in kind: in each, some of the system's answers come by themselves and others only
  // when an action of the run lets them.
  machine.screenCapture.answersContent = machine.dispatch.random(4) != 0;
  machine.screenCapture.completesStarts = machine.dispatch.random(2) == 0;
  machine.screenCapture.completesUpdates = machine.dispatch.random(2) == 0;
  addActions();
}

void SessionWorld::addAction(const std::string& name, std::uint64_t weight,
                             std::function<void()> perform) {
  actions.push_back({name, weight, std::move(perform)});
}

void SessionWorld::addActions() {
  // The weight of a disturbance is drawn anew for each run, and is often nothing.
  const auto sometimes = [&](std::uint64_t weight) {
    return machine.dispatch.random(4) == 0 ? 0 : weight;
  };
  auto& capture = machine.screenCapture;
  addAction("run", 40, [&] { machine.dispatch.runOne(); });
  addAction("run many", 8, [&] {
    for (int i = 0; i < 8; ++i) machine.dispatch.runOne();
  });
  addAction("start", 6, [&] { startSession(); });
  addAction("start without consent", 1, [&] { call("startCapture", Map{{"unattended", true}}); });
  addAction("stop", sometimes(4), [&] {
    call("stopCapture");
    liveSession.reset();
    mayReportEnd = false;
    expectNothingHeld("after a stop");
  });
  addAction("inject", 8, [&] { inject(); });
  addAction("release", sometimes(1), [&] {
    call("releaseInput");
    expectNothingHeld("after a release");
  });
  addAction("asleep", sometimes(1), [&] { machine.inputEvents.displays[1].isActive = false; });
  addAction("awake", 2, [&] { machine.inputEvents.displays[1].isActive = true; });
  addAction("configure", sometimes(3), [&] { call("configureStream", pictureSettings(true)); });
  addAction("configure badly", 1, [&] { call("configureStream", pictureSettings(false)); });
  addAction("ask", 2, [&] { call("permissions"); });
  addAction("describe", 2, [&] { call("capabilities"); });
  addAction("listen", 3, [&] { listen(); });
  addAction("cancel", sometimes(1), [&] { machine.flutter.messenger->cancel(frameChannel); });
  addAction("sample", 20, [&] { withAnyStream([&](auto& stream) { sendSample(stream); }); });
  addAction("idle sample", 4, [&] {
    withAnyStream([](auto& stream) { stream.send(FakeSample::withStatus(frameStatusIdle)); });
  });
  addAction("system stop", sometimes(2), [&] {
    withAnyStream([](auto& stream) {
      stream.stopWithError({fakes::fakeStreamErrorDomain, -3821, "The system stopped it."});
    });
  });
  addAction("content", 6, [&] { capture.answerContentRequest(); });
  addAction("started", 6, [&] { withAnyStream([](auto& stream) { stream.completeStart(); }); });
  addAction("start failed", sometimes(2), [&] {
    withAnyStream([](auto& stream) { stream.completeStart(Error("system", -3802, "Failed.")); });
  });
  addAction("updated", 4, [&] { withAnyStream([](auto& stream) { stream.completeUpdate(); }); });
  addAction("update failed", sometimes(1), [&] {
    withAnyStream([](auto& stream) { stream.completeUpdate(Error("system", -3810, "Refused.")); });
  });
  addAction("no display", sometimes(1),
            [&] { capture.contentError = Error("system", -3814, "No displays."); });
  addAction("display", 2, [&] { capture.contentError.reset(); });
  addAction("a moment", 6,
            [&] { machine.dispatch.advance(machine.dispatch.random(500) * millisecond); });
  addAction("a while", sometimes(2),
            [&] { machine.dispatch.advance(machine.dispatch.random(9000) * millisecond); });
  addAction("no encoder", sometimes(1), [&] { machine.imageEncoder.fails = true; });
  addAction("encoder", 2, [&] { machine.imageEncoder.fails = false; });
  addAction("no video encoder", sometimes(1), [&] { machine.videoEncoder.makesSessions = false; });
  addAction("video encoder", 2, [&] { machine.videoEncoder.makesSessions = true; });
  addAction("revoke", sometimes(1), [&] { machine.permissions.accessibility = false; });
  addAction("grant", 2, [&] { machine.permissions.accessibility = true; });
}

Outcome SessionWorld::run(int steps) {
  for (int i = 0; i < steps && outcome.failure.empty(); ++i) step();
  if (outcome.failure.empty()) settle();
  return outcome;
}

void SessionWorld::step() {
  std::uint64_t total = 0;
  for (const auto& action : actions) total += action.weight;
  auto drawn = machine.dispatch.random(total);
  for (const auto& action : actions) {
    if (drawn < action.weight) {
      note(action.name);
      action.perform();
      return checkPromises();
    }
    drawn -= action.weight;
  }
}

// Lets everything that is still under way come to its end, closes the user interface and looks
// whether anything is left.
void SessionWorld::settle() {
  note("settle");
  auto& capture = machine.screenCapture;
  capture.answersContent = capture.completesStarts = capture.completesUpdates = true;
  // A late answer can lead to the next request, so twice the number of calls is enough rounds.
  for (std::size_t round = 0; round < 2 * calls.size() + 2; ++round) {
    capture.answerContentRequest();
    for (const auto& weak : capture.streams) {
      if (const auto stream = weak.lock()) {
        stream->completeStart();
        stream->completeUpdate();
      }
    }
    while (machine.dispatch.runOne()) checkPromises();
  }
  checkReplies(/*mustBeAnswered=*/true);

  bridge.reset();
  machine.flutter.messenger->shutDown();
  machine.dispatch.runUntilIdle();
  expectNothingHeld("after the bridge");
  if (!weakBridge.expired()) fail("the bridge goes when nobody holds it");
  if (machine.process.runningActivities() != 0) fail("no activity outlives the bridge");
  for (const auto& stream : capture.streams) {
    if (!stream.expired()) fail("no stream outlives the bridge");
  }
  if (machine.videoEncoder.sessionsAtWork() > 0) fail("no video encoder outlives the bridge");
}

void SessionWorld::call(const std::string& method, Value arguments) {
  calls.push_back({method, machine.flutter.messenger->invoke(hostChannel, method, arguments)});
}

void SessionWorld::startSession() {
  const auto capturesBefore = machine.dispatch.serialQueueRequests.size();
  call("startCapture", Map{{"locallyAuthorized", true}});
  if (machine.dispatch.serialQueueRequests.size() == capturesBefore) return;  // refused
  newestStart = calls.back().call;
  liveSession = static_cast<int>(captureQueues.size());
  captureQueues.push_back(machine.dispatch.newestSerialQueue());
  mayReportEnd = true;
}

void SessionWorld::inject() {
  static const std::vector<Map> events = {
      {{"action", "keyDown"}, {"keyCode", 0}},
      {{"action", "keyDown"}, {"keyCode", 56}},
      {{"action", "keyUp"}, {"keyCode", 56}},
      {{"action", "mouseDown"}, {"x", 0.25}, {"y", 1}},
      {{"action", "mouseDown"}, {"x", 1}, {"y", 0}, {"button", "middle"}},
      {{"action", "mouseUp"}, {"x", 0}, {"y", 0}},
      {{"action", "mouseMove"}, {"x", 0.5}, {"y", 0.5}},
      {{"action", "scroll"}, {"dx", 0}, {"dy", 12}},
      {{"action", "keyDown"}, {"keyCode", 500}},
  };
  const bool isAllowed = bridge->hasSession() && machine.permissions.accessibility;
  call("injectInput", events[machine.dispatch.random(events.size())]);
  if (!isAllowed && !machine.inputEvents.posted.empty()) {
    fail("input needs a session and Accessibility");
  }
  followInput();
}

// Reads what was posted since the last time.
void SessionWorld::followInput() {
  using fakes::FakeInputEvent;
  for (const auto& event : std::exchange(machine.inputEvents.posted, {})) {
    if (event.kind == FakeInputEvent::Kind::scroll) continue;
    const bool isKey = event.kind == FakeInputEvent::Kind::keyboard;
    const auto name = isKey ? "key " + std::to_string(event.virtualKey)
                            : "button " + std::to_string(static_cast<int>(event.button));
    const bool isPress = isKey ? event.keyDown
                               : event.type == MouseEventType::leftMouseDown ||
                                     event.type == MouseEventType::otherMouseDown;
    const bool isRelease = isKey ? !event.keyDown
                                 : event.type == MouseEventType::leftMouseUp ||
                                       event.type == MouseEventType::otherMouseUp;
    if (isPress) heldInput.insert(name);
    if (isRelease) heldInput.erase(name);
  }
}

void SessionWorld::expectNothingHeld(const std::string& when) {
  followInput();
  if (!heldInput.empty()) fail("nothing stays pressed " + when);
}

// Input is for sessions only, and the mouse for those whose display is known: that runs.
void SessionWorld::checkInput() {
  if (!bridge->hasSession()) expectNothingHeld("without a session");
  followInput();
  const bool isRunning = bridge->hasSession() && newestStart->replies == 1;
  if (bridge->inputDisplay().has_value() != isRunning) {
    fail("input has a display exactly while a session runs");
  }
}

void SessionWorld::listen() {
  machine.flutter.messenger->listen(frameChannel, {},
                                    [this](const FlutterEvent& event) { receive(event); });
}

void SessionWorld::receive(const FlutterEvent& event) {
  if (const auto* error = std::get_if<FlutterError>(&event)) return receiveError(*error);
  receiveFrame(*std::get<Value>(event).as<Data>());
}

void SessionWorld::receiveFrame(const Data& frame) {
  const auto content = contentOf(frame);
  note("frame " + std::to_string(content));
  if (!liveSession || static_cast<int>(content / framesPerSession) != *liveSession) {
    fail("no frame arrives from a session that has ended");
  }
  if (content <= lastFrame) fail("frames arrive in the order they were taken");
  lastFrame = content;
}

void SessionWorld::receiveError(const FlutterError& error) {
  note("error " + error.code);
  if (!std::exchange(mayReportEnd, false)) fail("a session that ends by itself says so once");
  liveSession.reset();
  expectNothingHeld("after a session that ended by itself");
}

void SessionWorld::withAnyStream(const std::function<void(fakes::FakeStream&)>& body) {
  std::vector<std::shared_ptr<fakes::FakeStream>> alive;
  for (const auto& weak : machine.screenCapture.streams) {
    if (auto stream = weak.lock()) alive.push_back(std::move(stream));
  }
  if (!alive.empty()) body(*alive[machine.dispatch.random(alive.size())]);
}

void SessionWorld::sendSample(fakes::FakeStream& stream) {
  const auto session = sessionOf(stream.outputQueue.get());
  if (!session) return;
  static_assert(framesPerSession > 10'000, "more than a run can send");
  const auto number = static_cast<std::uint32_t>(outcome.trace.size());
  const auto sample =
      FakeSample::complete(static_cast<std::uint32_t>(*session * framesPerSession) + number);
  sample->presentationTime = {number, 30};
  stream.send(sample);
}

std::optional<int> SessionWorld::sessionOf(const DispatchQueue* captureQueue) const {
  const auto found = std::ranges::find_if(
      captureQueues, [&](const auto& queue) { return queue.get() == captureQueue; });
  if (found == captureQueues.end()) return std::nullopt;
  return static_cast<int>(found - captureQueues.begin());
}

void SessionWorld::checkPromises() {
  followSession();
  checkInput();
  checkReplies(/*mustBeAnswered=*/false);
  checkQueuedDeliveries();
  const std::size_t expected = bridge->hasSession() ? 1 : 0;
  if (machine.process.runningActivities() != expected) {
    fail("the activity is held exactly while a session is starting or running");
  }
  for (const auto& violation : machine.violations()) fail(violation);
}

// An ending that nobody listens to shows only in the bridge itself.
void SessionWorld::followSession() {
  if (!bridge->hasSession()) liveSession.reset();
  if (bridge->hasSession() != liveSession.has_value()) {
    fail("a session lives from its start to its one end");
  }
}

void SessionWorld::checkReplies(bool mustBeAnswered) {
  for (auto& pending : calls) {
    const int replies = pending.call->replies;
    if (replies > 1) fail("every call is answered once: " + pending.method);
    if (replies == 0 && mustBeAnswered) fail("every call is answered: " + pending.method);
    if (replies == 1 && !std::exchange(pending.noted, true)) {
      note(pending.method + " -> " + describe(pending.call->reply));
    }
  }
}

// At most one delivery of each capture waits on the main queue; a stall report may wait beside it.
void SessionWorld::checkQueuedDeliveries() {
  for (const auto& queue : captureQueues) {
    const bool stopped = std::ranges::any_of(machine.screenCapture.streams, [&](const auto& weak) {
      const auto stream = weak.lock();
      return stream == nullptr || (stream->outputQueue == queue && stream->stopCalls > 0);
    });
    const std::size_t allowed = stopped ? 2 : 1;
    if (machine.dispatch.mainThread().pendingFrom(queue.get()) > allowed) {
      fail("at most one delivery is queued");
    }
  }
}

void SessionWorld::note(const std::string& line) {
  outcome.trace.push_back(std::to_string(machine.dispatch.uptimeNanoseconds() / millisecond) +
                          " ms  " + line);
}

void SessionWorld::fail(const std::string& promise) {
  if (!outcome.failure.empty()) return;
  outcome.failure = promise;
  note("BROKEN: " + promise);
}

}  // namespace quorvin::simulation
