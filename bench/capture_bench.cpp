// What capturing adds to the calls that no capture can do without. For each size, in one run: the
// library calls alone (fetch the whole screen through shared memory, scale it where the frame is
// smaller, encode it), and a stream of ours, from its decision to capture to the finished payload,
// for a change of the whole screen. The settings of JPEG and of scaling are the same on both sides.
// The counters are medians of a run; the ratio is meant to stay at or below 1.10.

#include <benchmark/benchmark.h>

#include <chrono>
#include <string>
#include <vector>

#include "bench/BareCapture.h"
#include "bench/Desktop.h"
#include "bench/Measures.h"
#include "bench/ScreenFrames.h"
#include "bench/StreamPayloads.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

PixelSize screenOf(const benchmark::State& state) {
  return {static_cast<int>(state.range(0)), static_cast<int>(state.range(1))};
}
PixelSize frameOf(const benchmark::State& state) {
  return {static_cast<int>(state.range(2)), static_cast<int>(state.range(3))};
}

// The two take turns, so that whatever else the machine does meets both alike.
void captureToPayload(benchmark::State& state) {
  const auto screen = screenOf(state);
  const XServer server({"-screen", "0",
                        std::to_string(screen.width) + "x" + std::to_string(screen.height) + "x24",
                        "-noreset"});
  ScreenFrames desktops(
      server.display(), wholeOf(screen),
      {desktopImage(screen.width, screen.height, 1), desktopImage(screen.width, screen.height, 2)});
  BareCapture calls(server.display(), screen, frameOf(state));
  StreamPayloads stream(server.display(), frameOf(state));
  std::vector<double> ours;
  std::vector<double> bare;
  std::vector<double> ratios;
  while (state.KeepRunning()) {
    desktops.showNext();
    const auto times = stream.next();
    const auto start = std::chrono::steady_clock::now();
    calls.run();
    bare.push_back(milliseconds(std::chrono::steady_clock::now() - start));
    ours.push_back(milliseconds(times.done - times.decided));
    ratios.push_back(ours.back() / bare.back());
    state.SetIterationTime(ours.back() / 1000);
  }
  state.counters["oursMs"] = median(ours);
  state.counters["bareMs"] = median(bare);
  state.counters["ratio"] = median(ratios);
}
BENCHMARK(captureToPayload)
    ->ArgNames({"screenWidth", "screenHeight", "width", "height"})
    ->Args({1920, 1080, 1920, 1080})
    ->Args({2560, 1600, 1920, 1200})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(100)
    ->Repetitions(5)
    ->ReportAggregatesOnly();

}  // namespace
}  // namespace quorvin

BENCHMARK_MAIN();
