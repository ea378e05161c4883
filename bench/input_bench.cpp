// Remote input: what the controller adds to making and posting an event, what the way over the UI
// link adds to a bare call of the X server, and how long an event takes to the screen while frames
// at 60 a second go to a user interface that is slow to read them.

#include <benchmark/benchmark.h>
#include <poll.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Runner/RemoteInputController.h"
#include "bench/Desktop.h"
#include "platform/linux/input/InputEvents.h"
#include "tests/e2e/link/HostHarness.h"
#include "tests/linux/capture/ScreenPainter.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int widthPx = 1280;
constexpr int heightPx = 720;
constexpr double displayWidth = widthPx;
constexpr double displayHeight = heightPx;
constexpr auto pace = 8ms;  // of a mouse that is moved

// --- The controller, on a system that does nothing.

class NullEvent final : public InputEvent {
 public:
  void setIntegerValueField(EventField /*field*/, std::int64_t value) override { state = value; }
  void setFlags(EventFlags value) override { flags = value; }

 private:
  std::int64_t state = 0;
  EventFlags flags = 0;
};

class NullInputEvents final : public InputEvents {
 public:
  std::shared_ptr<EventSource> createSource(EventSourceState /*state*/) override { return nullptr; }
  std::shared_ptr<InputEvent> createMouseEvent(const std::shared_ptr<EventSource>& /*source*/,
                                               MouseEventType /*type*/, Point /*position*/,
                                               MouseButton /*button*/) override {
    return std::make_shared<NullEvent>();
  }
  std::shared_ptr<InputEvent> createScrollWheelEvent(const std::shared_ptr<EventSource>& /*source*/,
                                                     ScrollEventUnit /*units*/,
                                                     std::uint32_t /*count*/, std::int32_t /*y*/,
                                                     std::int32_t /*x*/,
                                                     std::int32_t /*z*/) override {
    return std::make_shared<NullEvent>();
  }
  std::shared_ptr<InputEvent> createKeyboardEvent(const std::shared_ptr<EventSource>& /*source*/,
                                                  std::uint16_t /*key*/, bool /*down*/) override {
    return std::make_shared<NullEvent>();
  }
  void post(EventTapLocation /*tap*/, const std::shared_ptr<InputEvent>& event) override {
    benchmark::DoNotOptimize(event.get());
  }
  bool displayIsActive(DisplayID /*display*/) override { return true; }
  Rect displayBounds(DisplayID /*display*/) override { return wholeDisplay; }

  static constexpr Rect wholeDisplay{{0, 0}, {displayWidth, displayHeight}};
};

Map moveTo(double x) {
  return Map{{"action", "mouseMove"}, {"x", x}, {"y", 0.5}};
}

template <typename After>
void apply(benchmark::State& state, InputEvents& events, const After& after) {
  RemoteInputController controller(events, [] { return NullInputEvents::wholeDisplay; });
  const auto left = moveTo(0.25);
  const auto right = moveTo(0.75);
  bool isLeft = false;
  for (auto _ : state) {
    controller.apply((isLeft = !isLeft) ? left : right);
    after();
  }
  state.SetItemsProcessed(state.iterations());
}

void postAlone(benchmark::State& state, InputEvents& events) {
  bool isLeft = false;
  for (auto _ : state) {
    isLeft = !isLeft;
    const auto event =
        events.createMouseEvent(nullptr, MouseEventType::mouseMoved,
                                {isLeft ? 320.0 : 960.0, displayHeight / 2}, MouseButton::left);
    event->setIntegerValueField(EventField::mouseEventClickState, 1);
    event->setFlags(0);
    events.post(EventTapLocation::session, event);
  }
  state.SetItemsProcessed(state.iterations());
}

void applyToNothing(benchmark::State& state) {
  NullInputEvents events;
  apply(state, events, [] {});
}
BENCHMARK(applyToNothing);

void postToNothing(benchmark::State& state) {
  NullInputEvents events;
  postAlone(state, events);
}
BENCHMARK(postToNothing);

// --- On an X server.

class NoJournal final : public InputJournal {
 public:
  void prepare() override {}
  bool willPressButton(std::uint8_t /*button*/) override { return true; }
  bool willPressKey(std::uint8_t /*keycode*/) override { return true; }
  bool willBindKey(std::uint8_t /*keycode*/) override { return true; }
  void didUnbindKey(std::uint8_t /*keycode*/) override {}
};

// A connection to the X server without anything around it.
class BareInput {
 public:
  explicit BareInput(const std::string& display) : connection(display) {}

  void move(std::int16_t x) {
    xcb_test_fake_input(connection.get(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, connection.root(),
                        x, heightPx / 2, 0);
    xcb_flush(connection.get());
  }
  void waitForServer() {
    benchmark::DoNotOptimize(x11Reply(xcb_get_input_focus_reply, connection.get(),
                                      xcb_get_input_focus(connection.get())));
  }

 private:
  X11Connection connection;
};

// A program that is told of every move of the mouse.
class MoveWatcher {
 public:
  explicit MoveWatcher(const std::string& display) : connection(display) {
    (void)x11Reply(xcb_input_xi_query_version_reply, connection.get(),
                   xcb_input_xi_query_version(connection.get(), 2, 2));
    struct {
      xcb_input_event_mask_t head{XCB_INPUT_DEVICE_ALL_MASTER, 1};
      std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
    } const wanted;
    xcb_input_xi_select_events(connection.get(), connection.root(), 1, &wanted.head);
    forget();
  }

  // Whether a move has been told of in time.
  [[nodiscard]] bool wait() {
    const auto deadline = Clock::now() + 5s;
    pollfd source{.fd = connection.descriptor(), .events = POLLIN, .revents = 0};
    while (Clock::now() < deadline) {
      if (connection.pollEvent()) return true;
      ::poll(&source, 1, 100);
    }
    return false;
  }
  void forget() {
    (void)x11Reply(xcb_get_input_focus_reply, connection.get(),
                   xcb_get_input_focus(connection.get()));
    while (connection.pollEvent()) {
    }
  }

 private:
  X11Connection connection;
};

// A screen, and a host that shares it at 60 frames a second.
class SharedScreen {
 public:
  SharedScreen() : harness({widthPx, heightPx}), host(harness) {
    host.client->listen();
    if (!host.startCapture() || !host.nextFrame()) throw std::runtime_error("no frame");
    const Map settings{{"profile", "balanced"}, {"show_cursor", true},    {"codec", "jpeg"},
                       {"max_width", widthPx},  {"max_height", heightPx}, {"fps", 60},
                       {"bitrate_mbps", 8},     {"jpeg_quality", 80},     {"queue_depth", 3}};
    if (host.client->call("configureStream", settings) != FlutterReply(Value())) {
      throw std::runtime_error("no 60 frames a second");
    }
  }

  HostHarness harness;
  ConnectedHost host;
};

SharedScreen& shared() {
  static SharedScreen screen;
  return screen;
}

// To the thread that works the server and back.
void applyAndSettle(benchmark::State& state) {
  NoJournal journal;
  LinuxInputEvents events(shared().harness.server.display(), journal);
  if (!events.sync()) return state.SkipWithError("the server does not answer");
  apply(state, events, [&events] { benchmark::DoNotOptimize(events.sync()); });
}
BENCHMARK(applyAndSettle)->UseRealTime();

void injectAndReply(benchmark::State& state) {
  auto& client = *shared().host.client;
  const auto left = moveTo(0.25);
  const auto right = moveTo(0.75);
  bool isLeft = false;
  for (auto _ : state) {
    benchmark::DoNotOptimize(client.call("injectInput", (isLeft = !isLeft) ? left : right));
    client.discardEvents();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(injectAndReply)->UseRealTime();

void bareMoveAndReply(benchmark::State& state) {
  BareInput server(shared().harness.server.display());
  std::int16_t x = 0;
  for (auto _ : state) {
    server.move(x = x == 320 ? 960 : 320);
    server.waitForServer();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(bareMoveAndReply)->UseRealTime();

// --- While the whole screen changes.

class BusyScreen {
 public:
  explicit BusyScreen(const std::string& display)
      : painting([display](const std::stop_token& stop) {
          ScreenPainter painter(display);
          const auto first = desktopImage(widthPx, heightPx, 1);
          const auto second = desktopImage(widthPx, heightPx, 2);
          for (bool isFirst = true; !stop.stop_requested(); isFirst = !isFirst) {
            painter.draw({0, 0, widthPx, heightPx}, isFirst ? first : second);
            std::this_thread::sleep_for(16ms);
          }
        }) {}

 private:
  std::jthread painting;
};

// Makes one move after the other at the pace of a mouse, and reports how long they took.
template <typename Move>
void measureMoves(benchmark::State& state, const Move& move) {
  auto& screen = shared();
  const BusyScreen busy(screen.harness.server.display());
  MoveWatcher watcher(screen.harness.server.display());
  std::vector<double> times;
  auto next = Clock::now();
  bool isLeft = false;
  for (auto _ : state) {
    next = std::max(next + pace, Clock::now());
    std::this_thread::sleep_until(next);
    const auto begin = Clock::now();
    move(isLeft = !isLeft);
    if (!watcher.wait()) state.SkipWithError("a move was lost");
    times.push_back(std::chrono::duration<double>(Clock::now() - begin).count());
    state.SetIterationTime(times.back());
    // A slow reader: no more than one piece of a frame at a time.
    (void)screen.host.client->nextEvent(0ms);
  }
  std::ranges::sort(times);
  const auto share = [&](double part) {
    return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))];
  };
  state.counters["median_ms"] = share(0.5) * 1e3;
  state.counters["p99_ms"] = share(0.99) * 1e3;
  state.counters["within_5ms"] =
      static_cast<double>(std::ranges::upper_bound(times, 0.005) - times.begin()) /
      static_cast<double>(times.size());
  screen.host.client->call("releaseInput");
  screen.host.client->discardEvents();
}

void moveFromLinkToScreen(benchmark::State& state) {
  const auto left = moveTo(0.25);
  const auto right = moveTo(0.75);
  measureMoves(state, [&](bool isLeft) {
    shared().host.client->send(LinkClient::methodChannel, "injectInput", isLeft ? left : right);
  });
}
BENCHMARK(moveFromLinkToScreen)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(1000);

void bareMoveToScreen(benchmark::State& state) {
  BareInput server(shared().harness.server.display());
  measureMoves(state, [&](bool isLeft) { server.move(isLeft ? 320 : 960); });
}
BENCHMARK(bareMoveToScreen)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(1000);

}  // namespace
}  // namespace quorvin

BENCHMARK_MAIN();
