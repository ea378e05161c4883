// The whole host beside `ffmpeg -f x11grab`, both capturing the same screen of 1920 x 1080 at 30
// frames a second, in turns: a moving desktop, where another one fills the screen 30 times a
// second, with windows on a quarter of it; the same with text all over, which takes more than an
// encoder of 7 Mbit/s has for 30 frames; and a still one of that kind. Beside the host's H.264 of
// 7 Mbit/s stands libx264 at its fastest with every frame by itself at the same bit rate; beside
// the host's JPEG of quality 72 stands mjpeg of the quality that comes nearest in PSNR, and once
// more of the one that comes nearest in bytes. Both draw the pointer, and ffmpeg has as many
// threads as it likes.
//
// Times are processor seconds, of all threads, for each second of video. The X server's are not
// among them: it does for both the same. The frame's PSNR is that of red, green and blue against
// what was on the screen, the pointer's place left out. The counters are medians of the turns.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Desktop.h"
#include "bench/FfmpegFrames.h"
#include "bench/FrameQuality.h"
#include "bench/HostFrames.h"
#include "bench/Measures.h"
#include "bench/ScreenFrames.h"
#include "tests/linux/capture/ScreenPainter.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = FrameSource::Clock;

constexpr PixelSize screen{1920, 1080};
constexpr int pointerX = 1000;
constexpr int pointerY = 600;
constexpr PixelRect pointerArea{pointerX - 32, pointerY - 32, 64, 64};
constexpr std::chrono::nanoseconds frameInterval = std::chrono::nanoseconds(1s) / 30;
constexpr auto timeout = 10s;

enum class Codec { jpeg, h264 };
enum class Scene { still, moving, busy };
// In what mjpeg is to be like the host's JPEG.
enum class Likeness { psnr, bytes };

// Windows on a quarter of the screen, and a plain background around them.
std::vector<std::uint32_t> sparseDesktop(std::uint32_t seed) {
  const PixelSize part{screen.width / 2, screen.height / 2};
  const auto windows = desktopImage(part.width, part.height, seed);
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(wholeOf(screen).area()),
                                    0x35506B + 0x101010 * seed);
  const auto left = static_cast<int>(seed) * part.width / 4;
  const auto top = static_cast<int>(seed) * part.height / 4;
  for (int y = 0; y < part.height; ++y) {
    std::copy_n(windows.begin() + std::ptrdiff_t{y} * part.width, part.width,
                pixels.begin() + std::ptrdiff_t{top + y} * screen.width + left);
  }
  return pixels;
}

std::vector<std::vector<std::uint32_t>> desktopsOf(Scene scene) {
  std::vector<std::vector<std::uint32_t>> desktops;
  for (std::uint32_t seed = 1; seed <= (scene == Scene::still ? 1 : 4); ++seed) {
    desktops.push_back(scene == Scene::moving ? sparseDesktop(seed)
                                              : desktopImage(screen.width, screen.height, seed));
  }
  return desktops;
}

// The screen that both capture.
class SharedScreen {
 public:
  SharedScreen() { ScreenPainter(harness.server.display()).movePointer(pointerX, pointerY); }

  // Over whatever else has been shown.
  void show(Scene scene) {
    mover = {};
    if (scene != shown || !frames) {
      desktops = desktopsOf(scene);
      frames = std::make_unique<ScreenFrames>(harness.server.display(), wholeOf(screen), desktops);
      shown = scene;
    }
    frames->show(0);
    if (scene != Scene::still) mover = std::jthread([this](const auto& stop) { move(stop); });
  }

  // Of a coded frame, against the desktop that it shows.
  double errorOf(FrameDecoder& decoder, const FrameSource::Bytes& coded) const {
    const auto decoded = decoder.decode(coded, screen);
    double least = std::numeric_limits<double>::infinity();
    for (const auto& desktop : desktops) {
      least = std::min(least, meanSquareError(decoded, desktop, screen, pointerArea));
    }
    return least;
  }

  HostHarness harness{{screen.width, screen.height}};

 private:
  void move(const std::stop_token& stop) {
    for (auto next = Clock::now(); !stop.stop_requested(); next += frameInterval) {
      std::this_thread::sleep_until(next);
      frames->showNext();
    }
  }

  Scene shown = Scene::still;
  std::vector<std::vector<std::uint32_t>> desktops;
  std::unique_ptr<ScreenFrames> frames;
  std::jthread mover;
};

SharedScreen& sharedScreen() {
  static SharedScreen shared;
  return shared;
}

// What a program did in a while.
struct Turn {
  double processorTime = 0;  // in seconds, for each second of video
  double bytes = 0;          // a second
  double frames = 0;         // a second
  double psnr = 0;           // in decibels
};

double qualityOf(const std::vector<FrameSource::Bytes>& frames, Codec codec) {
  FrameDecoder decoder(codec == Codec::h264);
  double sum = 0;
  for (const auto& frame : frames) {
    sum += sharedScreen().errorOf(decoder, frame);
  }
  return psnrOf(sum / static_cast<double>(frames.size()));
}

// Reads until that time, at least one frame: the last one.
FrameSource::Bytes warmUp(FrameSource& source, Clock::time_point until) {
  auto last = source.next(Clock::now() + timeout);
  if (!last) throw std::runtime_error("no frame");
  while (auto next = source.next(until)) last = std::move(next);
  return *last;
}

// Every few frames are looked at, or the last one where none come.
Turn measure(FrameSource& source, Codec codec) {
  constexpr std::size_t lookedAt = 5;  // so that all desktops have their turn
  // What an encoder has saved up for the first frames is spent by then, and a still one sharp.
  std::vector<FrameSource::Bytes> kept{
      warmUp(source, Clock::now() + std::chrono::milliseconds(effort(300, 3000)))};
  Turn turn;
  std::size_t count = 0;
  const auto start = Clock::now();
  const auto before = processorTimeOf(source.processId());
  const auto until = start + std::chrono::milliseconds(effort(300, 5000));
  while (auto frame = source.next(until)) {
    turn.bytes += static_cast<double>(frame->size());
    if (count++ % lookedAt == 0) kept.push_back(std::move(*frame));
  }
  const auto took = seconds(Clock::now() - start);
  turn.processorTime = seconds(processorTimeOf(source.processId()) - before) / took;
  turn.bytes /= took;
  turn.frames = static_cast<double>(count) / took;
  if (kept.size() > 1) kept.erase(kept.begin());
  turn.psnr = qualityOf(kept, codec);
  return turn;
}

FfmpegFrames peerOf(Codec codec, int quality) {
  return FfmpegFrames({.server = sharedScreen().harness.server.display(),
                       .screen = screen,
                       .input = {"-draw_mouse", "1"},
                       .output = codec == Codec::h264 ? intraOnlyX264() : motionJpeg(quality),
                       .isH264 = codec == Codec::h264});
}

// Of the still desktop, where finer frames come to more.
double measureOf(FrameSource& source, Likeness likeness) {
  const auto frame = warmUp(source, Clock::now() + 500ms);
  if (likeness == Likeness::bytes) return static_cast<double>(frame.size());
  return qualityOf({frame}, Codec::jpeg);
}

// A host that has come up: its window is on the screen, where the scene will be painted over it.
std::unique_ptr<HostFrames> startHost(Codec codec) {
  auto host =
      std::make_unique<HostFrames>(sharedScreen().harness, codec == Codec::h264 ? "h264" : "jpeg");
  (void)warmUp(*host, Clock::now() + std::chrono::milliseconds(effort(300, 1000)));
  return host;
}

// The quality of ffmpeg's mjpeg that comes nearest to the host's JPEG on a still desktop.
int chooseQuality(Likeness likeness) {
  auto host = startHost(Codec::jpeg);
  sharedScreen().show(Scene::still);
  const double wanted = measureOf(*host, likeness);
  host.reset();
  sharedScreen().show(Scene::still);
  int best = 0;
  double leastOff = std::numeric_limits<double>::infinity();
  for (int quality = 2; quality <= 31; ++quality) {
    auto peer = peerOf(Codec::jpeg, quality);
    const double off = measureOf(peer, likeness) - wanted;
    if (std::abs(off) < leastOff) best = quality;
    leastOff = std::min(leastOff, std::abs(off));
    if (off < 0) break;  // from here on they are coarser still
  }
  return best;
}

int qualityOfLike(Likeness likeness) {
  static std::map<Likeness, int> chosen;
  const auto known = chosen.find(likeness);
  if (known != chosen.end()) return known->second;
  return chosen[likeness] = chooseQuality(likeness);
}

Turn hostTurn(Codec codec, Scene scene) {
  auto host = startHost(codec);
  sharedScreen().show(scene);
  return measure(*host, codec);
}

Turn peerTurn(Codec codec, Scene scene, int quality) {
  sharedScreen().show(scene);
  auto peer = peerOf(codec, quality);
  return measure(peer, codec);
}

double medianOf(const std::vector<Turn>& turns, double Turn::*member) {
  std::vector<double> values;
  for (const auto& turn : turns) values.push_back(turn.*member);
  return median(values);
}

void hostBesideFfmpeg(benchmark::State& state, Codec codec, Scene scene,
                      Likeness likeness = Likeness::psnr) {
  const int quality = codec == Codec::jpeg ? qualityOfLike(likeness) : 0;
  if (codec == Codec::jpeg) state.counters["peerQuality"] = quality;
  std::vector<Turn> ours;
  std::vector<Turn> peers;
  std::vector<double> ratios;
  for (auto _ : state) {
    ours.push_back(hostTurn(codec, scene));
    peers.push_back(peerTurn(codec, scene, quality));
    ratios.push_back(ours.back().processorTime / peers.back().processorTime);
    state.SetIterationTime(ours.back().processorTime);
  }
  const auto report = [&](const std::string& name, double Turn::*member) {
    state.counters["ours" + name] = medianOf(ours, member);
    state.counters["peer" + name] = medianOf(peers, member);
  };
  report("ProcessorTime", &Turn::processorTime);
  report("Bytes", &Turn::bytes);
  report("Pictures", &Turn::frames);
  report("Psnr", &Turn::psnr);
  state.counters["ratio"] = median(ratios);
  if (medianOf(ours, &Turn::frames) > 0) {
    state.counters["ratioForEachPicture"] =
        medianOf(ours, &Turn::processorTime) / medianOf(ours, &Turn::frames) /
        (medianOf(peers, &Turn::processorTime) / medianOf(peers, &Turn::frames));
  }
}

void inTurns(benchmark::internal::Benchmark* benchmark) {
  benchmark->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(effort(1, 3));
}
BENCHMARK_CAPTURE(hostBesideFfmpeg, movingH264, Codec::h264, Scene::moving)->Apply(inTurns);
BENCHMARK_CAPTURE(hostBesideFfmpeg, movingJpeg, Codec::jpeg, Scene::moving)->Apply(inTurns);
BENCHMARK_CAPTURE(hostBesideFfmpeg, movingJpegOfLikeBytes, Codec::jpeg, Scene::moving,
                  Likeness::bytes)
    ->Apply(inTurns);
BENCHMARK_CAPTURE(hostBesideFfmpeg, busyH264, Codec::h264, Scene::busy)->Apply(inTurns);
BENCHMARK_CAPTURE(hostBesideFfmpeg, busyJpeg, Codec::jpeg, Scene::busy)->Apply(inTurns);
BENCHMARK_CAPTURE(hostBesideFfmpeg, busyJpegOfLikeBytes, Codec::jpeg, Scene::busy, Likeness::bytes)
    ->Apply(inTurns);
BENCHMARK_CAPTURE(hostBesideFfmpeg, stillH264, Codec::h264, Scene::still)->Apply(inTurns);
BENCHMARK_CAPTURE(hostBesideFfmpeg, stillJpeg, Codec::jpeg, Scene::still)->Apply(inTurns);

}  // namespace
}  // namespace quorvin

BENCHMARK_MAIN();
