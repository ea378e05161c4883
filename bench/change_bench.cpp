// What a change of the screen costs by its size, 30 changes a second, three ways to make JPEG files
// of them: the host's capture stream and image context; TurboJPEG over the whole screen, fetched
// and scaled with nothing around it; and `ffmpeg -f x11grab` at 30 frames a second with mjpeg of
// about the same quality. The changes: none, a caret, a line of text, a window of a quarter of the
// screen, everything.
//
// Processor times are those of all threads, for each change, or for a thirtieth of a second where
// nothing changes. The latency is the time from painting to the whole file being in memory, or to
// the whole first frame that differs having come out of ffmpeg. TurboJPEG begins right after
// painting, without having to be told. The three take turns, in each of which one of them runs
// alone. The counters are medians of the turns.

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/BareCapture.h"
#include "bench/Desktop.h"
#include "bench/FfmpegFrames.h"
#include "bench/Measures.h"
#include "bench/ScreenFrames.h"
#include "bench/StreamPayloads.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

enum class Change { none, caret, line, quarter, everything };

constexpr std::chrono::nanoseconds changeInterval = std::chrono::nanoseconds(1s) / 30;
// Where ffmpeg's mjpeg is of about the same PSNR as JPEG of quality 72 (peer_bench looks for it).
constexpr int ffmpegQuality = 8;

PixelRect areaOf(Change change, PixelSize screen) {
  switch (change) {
    case Change::none:
    case Change::caret:
      return {600, 500, 2, 18};
    case Change::line:
      return {600, 500, 600, 20};
    case Change::quarter:
      return {screen.width / 4, screen.height / 4, screen.width / 2, screen.height / 2};
    case Change::everything:
      break;
  }
  return wholeOf(screen);
}

// What the area shows in turn.
std::vector<std::vector<std::uint32_t>> framesOf(Change change, PixelSize area) {
  const auto plain = [area](std::uint32_t colour) {
    return std::vector<std::uint32_t>(static_cast<std::size_t>(wholeOf(area).area()), colour);
  };
  if (change == Change::none || change == Change::caret) return {plain(0xFCFCFA), plain(0x202428)};
  if (change == Change::line) {
    return {textImage(area.width, area.height, 1), textImage(area.width, area.height, 2)};
  }
  return {desktopImage(area.width, area.height, 3), desktopImage(area.width, area.height, 4)};
}

// A virtual screen with a desktop, a part of which changes.
class ChangingScreen {
 public:
  ChangingScreen(PixelSize size, Change change)
      : size(size),
        change(change),
        server({"-screen", "0",
                std::to_string(size.width) + "x" + std::to_string(size.height) + "x24",
                "-noreset"}),
        area(server.display(), areaOf(change, size),
             framesOf(change, areaOf(change, size).size())) {
    ScreenFrames(server.display(), wholeOf(size), {desktopImage(size.width, size.height, 1)})
        .show(0);
    area.show(0);
  }

  [[nodiscard]] std::string display() const { return server.display(); }
  [[nodiscard]] bool changes() const { return change != Change::none; }
  void paint() { area.showNext(); }

  const PixelSize size;

 private:
  Change change;
  XServer server;
  ScreenFrames area;
};

// Milliseconds.
struct Costs {
  double processor = 0;  // for each change
  double latency = 0;
};

struct Turn {
  Costs ours;
  Costs bare;
  Costs ffmpeg;
};

// When the file of a change was there that was painted from then on.
Clock::time_point fileOf(StreamPayloads& stream, Clock::time_point paintedFrom) {
  auto times = stream.next();
  while (times.done < paintedFrom) times = stream.next();
  return times.done;
}

Costs measureOurs(ChangingScreen& screen, PixelSize frame, int changes) {
  StreamPayloads stream(screen.display(), frame);
  std::vector<double> latencies;
  // Everything of ours runs on threads of its own.
  const auto before = otherThreadsTime();
  auto next = Clock::now();
  for (int i = 0; i < changes; ++i) {
    std::this_thread::sleep_until(next += changeInterval);
    if (!screen.changes()) continue;
    const auto start = Clock::now();
    screen.paint();
    latencies.push_back(milliseconds(fileOf(stream, start) - start));
  }
  return {milliseconds(otherThreadsTime() - before) / changes,
          screen.changes() ? median(latencies) : 0};
}

Costs measureBare(ChangingScreen& screen, PixelSize frame, int changes) {
  BareCapture calls(screen.display(), screen.size, frame);
  calls.run();  // touches its memory
  std::vector<double> latencies;
  double processor = 0;
  auto next = Clock::now();
  for (int i = 0; i < changes; ++i) {
    std::this_thread::sleep_until(next += changeInterval);
    const auto start = Clock::now();
    if (screen.changes()) screen.paint();
    const auto before = ownThreadTime();
    calls.run();
    processor += milliseconds(ownThreadTime() - before);
    latencies.push_back(milliseconds(Clock::now() - start));
  }
  return {processor / changes, median(latencies)};
}

FfmpegFrames startFfmpeg(const ChangingScreen& screen, PixelSize frame) {
  auto output = motionJpeg(ffmpegQuality);
  // With more threads, frames come out later.
  output.insert(output.end(), {"-threads", "1"});
  if (frame != screen.size) {
    output.insert(output.end(), {"-vf", "scale=" + std::to_string(frame.width) + ":" +
                                            std::to_string(frame.height) + ":flags=bilinear"});
  }
  return FfmpegFrames({.server = screen.display(),
                       .screen = screen.size,
                       .input = {"-draw_mouse", "0"},
                       .output = std::move(output)});
}

FrameSource::Bytes nextOf(FfmpegFrames& ffmpeg) {
  auto frame = ffmpeg.next(Clock::now() + 10s);
  if (!frame) throw std::runtime_error("no frame");
  return std::move(*frame);
}

// Its frames come at their own beat; the changes fall anywhere between two of them.
Costs measureFfmpeg(ChangingScreen& screen, PixelSize frame, int changes) {
  auto ffmpeg = startFfmpeg(screen, frame);
  FrameSource::Bytes shown;
  for (int i = 0; i < 10; ++i) shown = nextOf(ffmpeg);
  std::vector<double> latencies;
  const auto before = processorTimeOf(ffmpeg.processId());
  int frames = 0;
  for (int i = 0; i < changes; ++i) {
    std::this_thread::sleep_for(changeInterval * (i % 10) / 10);
    const auto start = Clock::now();
    if (screen.changes()) screen.paint();
    auto next = nextOf(ffmpeg);
    for (++frames; screen.changes() && next == shown; ++frames) next = nextOf(ffmpeg);
    latencies.push_back(milliseconds(Clock::now() - start));
    shown = std::move(next);
  }
  return {milliseconds(processorTimeOf(ffmpeg.processId()) - before) / frames, median(latencies)};
}

void report(benchmark::State& state, const std::string& name, const std::vector<Turn>& turns,
            Costs Turn::*way, Change change) {
  std::vector<double> processor;
  std::vector<double> latency;
  for (const auto& turn : turns) {
    processor.push_back((turn.*way).processor);
    latency.push_back((turn.*way).latency);
  }
  state.counters[name + "ProcessorMs"] = median(processor);
  if (change != Change::none) state.counters[name + "LatencyMs"] = median(latency);
}

void costOfChange(benchmark::State& state, Change change, PixelSize screenSize, PixelSize frame) {
  ChangingScreen screen(screenSize, change);
  const int changes = effort(6, 60);
  std::vector<Turn> turns;
  std::vector<double> ratios;
  for (auto _ : state) {
    const Turn turn{measureOurs(screen, frame, changes), measureBare(screen, frame, changes),
                    measureFfmpeg(screen, frame, changes / 2)};
    turns.push_back(turn);
    ratios.push_back(turn.ours.processor / turn.bare.processor);
    state.SetIterationTime(turn.ours.processor / 1000);
  }
  report(state, "ours", turns, &Turn::ours, change);
  report(state, "bare", turns, &Turn::bare, change);
  report(state, "ffmpeg", turns, &Turn::ffmpeg, change);
  state.counters["ratio"] = median(ratios);
}

void eachChange() {
  constexpr std::array changes{std::pair("none", Change::none), std::pair("caret", Change::caret),
                               std::pair("line", Change::line),
                               std::pair("quarter", Change::quarter),
                               std::pair("everything", Change::everything)};
  constexpr std::array sizes{std::pair(PixelSize{1920, 1080}, PixelSize{1920, 1080}),
                             std::pair(PixelSize{2560, 1600}, PixelSize{1920, 1200})};
  for (const auto& [screen, frame] : sizes) {
    for (const auto& [name, change] : changes) {
      const auto title = "costOfChange/" + std::to_string(screen.width) + "x" +
                         std::to_string(screen.height) + "/" + name;
      benchmark::RegisterBenchmark(title.c_str(), costOfChange, change, screen, frame)
          ->Unit(benchmark::kMillisecond)
          ->UseManualTime()
          ->Iterations(effort(1, 3));
    }
  }
}

}  // namespace
}  // namespace quorvin

int main(int argc, char** argv) {
  quorvin::eachChange();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
