// What a frame of 1920 x 1080 costs as a JPEG file by how much of it changed since the last one,
// beside TurboJPEG over the whole frame, which is the same library's least cost for a file
// without anything kept. Both code the same pixels at the same quality, in turns. Times are the
// processor's, of all threads, since the machine may have other things to do; the wall's are
// counters. Counters are medians of a run. `ratio` is meant to stay at or below 1.05 where
// everything changed, and 0.06 where a line of text did; the least is the share of the pixels that
// are coded, three eighths of 2 rows of 68.

#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include "bench/Desktop.h"
#include "bench/Measures.h"
#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/frame/DamageHistory.h"
#include "platform/linux/jpeg/ImageEncoder.h"

namespace quorvin {
namespace {

constexpr int widthPx = 1920;
constexpr int heightPx = 1080;
constexpr int quality = 72;

double processorMs() {
  return milliseconds(ownProcessorTime());
}

double wallMs() {
  return milliseconds(std::chrono::steady_clock::now().time_since_epoch());
}

class WholeFrame {
 public:
  void run(const CapturedFrame& frame) {
    auto* bytes = file.data();
    auto size = static_cast<unsigned long>(file.size());  // NOLINT: the library's own type
    if (tjCompress2(compressor.get(), frame.data(), widthPx, 0, heightPx, TJPF_BGRX, &bytes, &size,
                    TJSAMP_420, quality, TJFLAG_FASTDCT | TJFLAG_NOREALLOC) != 0) {
      throw std::runtime_error("not encoded");
    }
    benchmark::DoNotOptimize(size);
  }

 private:
  std::unique_ptr<void, decltype(&tjDestroy)> compressor{tjInitCompress(), &tjDestroy};
  std::vector<unsigned char> file =
      std::vector<unsigned char>(tjBufSize(widthPx, heightPx, TJSAMP_420));
};

// Frames of a desktop in one and the same memory.
class Screen {
 public:
  Screen() { tracker.restart({widthPx, heightPx}); }

  // The area shows now this, now that.
  void change(const PixelRect& area) {
    shown = 1 - shown;
    const auto& desktop = desktops.at(shown);
    for (int row = area.y; row < area.bottom(); ++row) {
      const auto place = std::ptrdiff_t{row} * widthPx + area.x;
      std::copy_n(desktop.begin() + place, area.width, pixels.begin() + place);
    }
    tracker.markDamaged(area);
  }

  std::shared_ptr<CapturedFrame> nextFrame() {
    auto frame = std::make_shared<CapturedFrame>(
        nullptr, reinterpret_cast<const std::uint8_t*>(pixels.data()), widthPx, heightPx,
        std::size_t{widthPx} * sizeof pixels.front());
    frame->setDamageHistory(tracker.nextFrame());
    return frame;
  }

 private:
  std::vector<std::vector<std::uint32_t>> desktops{desktopImage(widthPx, heightPx, 1),
                                                   desktopImage(widthPx, heightPx, 2)};
  std::vector<std::uint32_t> pixels = desktops.front();
  std::size_t shown = 0;
  DamageTracker tracker;
};

struct Times {
  std::vector<double> processor;
  std::vector<double> wall;

  void note(double processorBefore, double wallBefore) {
    processor.push_back(processorMs() - processorBefore);
    wall.push_back(wallMs() - wallBefore);
  }
};

void frameToJpegFile(benchmark::State& state, const PixelRect& changed) {
  Screen screen;
  WholeFrame wholeFrame;
  auto threads = JpegThreads::ofThisMachine();
  threads.count = static_cast<std::size_t>(state.range(0));
  JpegEncoder encoder(threads);
  Times ours;
  Times whole;
  std::vector<double> ratios;
  auto held = encoder.encode(*screen.nextFrame(), quality);  // as a channel does for a while
  while (state.KeepRunning()) {
    screen.change(changed);
    const auto frame = screen.nextFrame();
    double processor = processorMs();
    double wall = wallMs();
    held = encoder.encode(*frame, quality);
    ours.note(processor, wall);
    if (!held) throw std::runtime_error("not encoded");

    processor = processorMs();
    wall = wallMs();
    wholeFrame.run(*frame);
    whole.note(processor, wall);
    ratios.push_back(ours.processor.back() / whole.processor.back());
    state.SetIterationTime(ours.processor.back() / 1000);
  }
  state.counters["ratio"] = median(ratios);
  state.counters["wholeMs"] = median(whole.processor);
  state.counters["wallMs"] = median(ours.wall);
  state.counters["wholeWallMs"] = median(whole.wall);
}

void withOptions(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("threads")
      ->Arg(1)
      ->Arg(2)
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime()
      ->Iterations(effort(3, 100))
      ->Repetitions(5)
      ->ReportAggregatesOnly();
}
BENCHMARK_CAPTURE(frameToJpegFile, nothing, PixelRect{})->Apply(withOptions);
BENCHMARK_CAPTURE(frameToJpegFile, caret, PixelRect{600, 500, 2, 18})->Apply(withOptions);
BENCHMARK_CAPTURE(frameToJpegFile, line, PixelRect{600, 500, 600, 20})->Apply(withOptions);
BENCHMARK_CAPTURE(frameToJpegFile, quarter, PixelRect{480, 270, 960, 540})->Apply(withOptions);
BENCHMARK_CAPTURE(frameToJpegFile, everything, PixelRect{0, 0, widthPx, heightPx})
    ->Apply(withOptions);

}  // namespace
}  // namespace quorvin

BENCHMARK_MAIN();
