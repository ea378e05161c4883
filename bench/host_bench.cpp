// The whole host, as a user interface sees it: how long an isolated change on a screen of
// 1920 x 1080 takes to be readable as a payload at the UI link, how fast calls are answered, and
// what an unchanged screen costs. Beside the first, in the same run, what fetching the same screen
// through shared memory and encoding it takes with nothing around it.

#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "bench/Desktop.h"
#include "bench/Measures.h"
#include "platform/linux/capture/X11ScreenReader.h"
#include "platform/linux/x11/X11Connection.h"
#include "tests/e2e/link/HostHarness.h"
#include "tests/linux/capture/ScreenPainter.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int widthPx = 1920;
constexpr int heightPx = 1080;
constexpr int quality = 72;
constexpr auto quietTime = 120ms;  // longer than a frame interval, so that each change is isolated
constexpr auto idleTime = 5s;

// A screen with a desktop on it, and a host that shares it.
class SharedDesktop {
 public:
  SharedDesktop() : harness({widthPx, heightPx}), painter(harness.server.display()), host(harness) {
    painter.draw(wholeOf(painter.screenSize()), desktopImage(widthPx, heightPx, 1));
    host.client->listen();
    if (!host.startCapture() || !host.nextFrame()) throw std::runtime_error("no frame");
  }

  // Takes every frame that is under way and waits until none has come for a while. A frame may
  // be longer than what the socket holds, so that only reading on brings it to its end.
  void settle() {
    while (host.client->nextEvent(quietTime)) {
    }
  }

  void paintCaret() {
    isCaretShown = !isCaretShown;
    painter.fill({600, 500, 2, 18}, isCaretShown ? 0x202428 : 0xFCFCFA);
  }

  HostHarness harness;
  ScreenPainter painter;
  ConnectedHost host;

 private:
  bool isCaretShown = false;
};

SharedDesktop& desktop() {
  static SharedDesktop shared;
  return shared;
}

void bareFetchAndEncode(benchmark::State& state) {
  X11Connection connection(desktop().harness.server.display());
  const auto extensions = X11Extensions::negotiate(connection);
  X11ScreenReader reader(connection, chooseTransport(connection, extensions),
                         std::make_shared<CaptureCounters>());
  auto image = reader.makeImage({widthPx, heightPx});
  const std::unique_ptr<void, decltype(&tjDestroy)> compressor(tjInitCompress(), &tjDestroy);
  std::vector<unsigned char> file(tjBufSize(widthPx, heightPx, TJSAMP_420));
  const auto fetchAndEncode = [&] {
    reader.requestPixels(PixelRegion(wholeOf(image.size)), image);
    if (!reader.waitForPixels()) state.SkipWithError("no pixels");
    auto* bytes = file.data();
    auto size = static_cast<unsigned long>(file.size());  // NOLINT: the library's own type
    tjCompress2(compressor.get(), image.memory.get(), widthPx,
                static_cast<int>(image.strideBytes()), heightPx, TJPF_BGRX, &bytes, &size,
                TJSAMP_420, quality, TJFLAG_FASTDCT | TJFLAG_NOREALLOC);
    benchmark::DoNotOptimize(size);
  };
  // The host's memory has been touched before, so this must have been as well.
  fetchAndEncode();
  for (auto _ : state) fetchAndEncode();
}
BENCHMARK(bareFetchAndEncode)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(60)
    ->ReportAggregatesOnly();

void changeToPayloadAtLink(benchmark::State& state) {
  auto& shared = desktop();
  for (auto _ : state) {
    shared.settle();
    const auto changed = Clock::now();
    shared.paintCaret();
    if (!shared.host.nextFrame()) state.SkipWithError("no frame");
    state.SetIterationTime(seconds(Clock::now() - changed));
  }
}
BENCHMARK(changeToPayloadAtLink)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(60)
    ->ReportAggregatesOnly();

void callAndReply(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(desktop().host.client->call("releaseInput"));
  }
}
BENCHMARK(callAndReply)->Unit(benchmark::kMicrosecond)->UseRealTime();

// The user interface stops reading while the whole screen changes all the time; the first call
// after it reads again also waits for the frames that were under way.
void callAndReplyAfterAPause(benchmark::State& state) {
  auto& shared = desktop();
  const auto other = desktopImage(widthPx, heightPx, 2);
  for (auto _ : state) {
    const auto resume = Clock::now() + 1s;
    while (Clock::now() < resume) shared.painter.draw({0, 0, widthPx, heightPx}, other);
    const auto sent = Clock::now();
    benchmark::DoNotOptimize(shared.host.client->call("releaseInput"));
    state.SetIterationTime(seconds(Clock::now() - sent));
  }
}
BENCHMARK(callAndReplyAfterAPause)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

// The time given is the processor's in one second of wall time.
void idleSecond(benchmark::State& state) {
  auto& shared = desktop();
  shared.settle();
  for (auto _ : state) {
    const auto before = processorTimeOf(shared.host.process->processId());
    std::this_thread::sleep_for(idleTime);
    const auto ran = processorTimeOf(shared.host.process->processId()) - before;
    state.SetIterationTime(seconds(ran) / seconds(idleTime));
  }
}
BENCHMARK(idleSecond)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);

}  // namespace
}  // namespace quorvin

BENCHMARK_MAIN();
