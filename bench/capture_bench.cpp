// What capturing adds to the calls that no capture can do without. For each size, in one run: the
// library calls alone (fetch the whole screen through shared memory, scale it where the picture is
// smaller, encode it), and a stream of ours, from its decision to capture to the finished payload,
// for a change of the whole screen. The settings of JPEG and of scaling are the same on both sides.
// The counters are medians of a run; the ratio is meant to stay at or below 1.10.

#include <benchmark/benchmark.h>
#include <libyuv/scale_argb.h>
#include <turbojpeg.h>
#include <xcb/shm.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/Desktop.h"
#include "platform/linux/X11Connection.h"
#include "platform/linux/capture/ImageEncoder.h"
#include "platform/linux/capture/PixelMemory.h"
#include "platform/linux/capture/PixelRegion.h"
#include "platform/linux/capture/ScreenCapture.h"
#include "tests/linux/capture/ThreadQueue.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double compressionFactor = 0.72;
constexpr int quality = 72;

// A virtual screen that shows one of two desktops.
class TwoDesktops {
 public:
  explicit TwoDesktops(PixelSize size)
      : server({"-screen", "0",
                std::to_string(size.width) + "x" + std::to_string(size.height) + "x24",
                "-noreset"}),
        connection(server.display()),
        size(size),
        context(xcb_generate_id(connection.get())),
        desktops{makeDesktop(1), makeDesktop(2)} {
    xcb_create_gc(connection.get(), context, connection.root(), 0, nullptr);
    show();
  }

  [[nodiscard]] std::string display() const { return server.display(); }

  // Changes the whole screen at once; done when the call returns.
  void show() {
    xcb_copy_area(connection.get(), desktops[shown], connection.root(), context, 0, 0, 0, 0,
                  static_cast<std::uint16_t>(size.width), static_cast<std::uint16_t>(size.height));
    shown = 1 - shown;
    const auto done = x11Reply(xcb_get_input_focus_reply, connection.get(),
                               xcb_get_input_focus(connection.get()));
  }

 private:
  xcb_pixmap_t makeDesktop(std::uint32_t seed) {
    const auto pixels = desktopPicture(size.width, size.height, seed);
    const xcb_pixmap_t pixmap = xcb_generate_id(connection.get());
    const auto width = static_cast<std::uint16_t>(size.width);
    xcb_create_pixmap(connection.get(), 24, pixmap, connection.root(), width,
                      static_cast<std::uint16_t>(size.height));
    const xcb_gcontext_t painter = xcb_generate_id(connection.get());
    xcb_create_gc(connection.get(), painter, pixmap, 0, nullptr);
    constexpr int band = 100;  // rows that fit into one request
    for (int y = 0; y < size.height; y += band) {
      const int rows = std::min(band, size.height - y);
      const auto offset = static_cast<std::size_t>(y) * width;
      xcb_put_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, painter, width,
                    static_cast<std::uint16_t>(rows), 0, static_cast<std::int16_t>(y), 0, 24,
                    static_cast<std::uint32_t>(rows * size.width * 4),
                    reinterpret_cast<const std::uint8_t*>(&pixels[offset]));
    }
    xcb_free_gc(connection.get(), painter);
    return pixmap;
  }

  XServer server;
  X11Connection connection;
  PixelSize size;
  xcb_gcontext_t context;
  std::size_t shown = 0;
  std::array<xcb_pixmap_t, 2> desktops;
};

// The library calls, with nothing around them.
class BareCalls {
 public:
  BareCalls(const std::string& display, PixelSize screen, PixelSize picture)
      : connection(display),
        screen(screen),
        picture(picture),
        segment(xcb_generate_id(connection.get())),
        file(tjBufSize(picture.width, picture.height, TJSAMP_420)) {
    auto shared = allocateSharedPixelMemory(bytesOf(screen));
    fetched = shared.memory;
    scaled = screen == picture ? fetched : allocatePixelMemory(bytesOf(picture));
    xcb_shm_attach_fd(connection.get(), segment, shared.descriptor.release(), 0);
  }

  void run() {
    fetch();
    if (screen != picture) scale();
    encode();
  }

 private:
  static std::size_t bytesOf(PixelSize size) {
    return static_cast<std::size_t>(wholeOf(size).area()) * 4;
  }

  void fetch() {
    const auto reply =
        x11Reply(xcb_shm_get_image_reply, connection.get(),
                 xcb_shm_get_image(connection.get(), connection.root(), 0, 0,
                                   static_cast<std::uint16_t>(screen.width),
                                   static_cast<std::uint16_t>(screen.height), 0xffffffff,
                                   XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0));
    if (!reply) throw std::runtime_error("no pixels");
  }

  void scale() {
    libyuv::ARGBScale(fetched.get(), screen.width * 4, screen.width, screen.height, scaled.get(),
                      picture.width * 4, picture.width, picture.height, libyuv::kFilterBilinear);
  }

  void encode() {
    auto* bytes = file.data();
    auto size = static_cast<unsigned long>(file.size());  // NOLINT: the library's own type
    tjCompress2(compressor.get(), scaled.get(), picture.width, 0, picture.height, TJPF_BGRX, &bytes,
                &size, TJSAMP_420, quality, TJFLAG_FASTDCT | TJFLAG_NOREALLOC);
    benchmark::DoNotOptimize(size);
  }

  X11Connection connection;
  PixelSize screen;
  PixelSize picture;
  xcb_shm_seg_t segment;
  PixelMemory fetched;
  PixelMemory scaled;
  std::unique_ptr<void, decltype(&tjDestroy)> compressor{tjInitCompress(), &tjDestroy};
  std::vector<unsigned char> file;
};

// Encodes each picture as it comes and notes how long it took since the capture was decided on.
class PayloadClock final : public StreamOutput {
 public:
  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType /*type*/) override {
    const auto picture = sample.imageBuffer();
    if (!picture) return;
    auto payload = context->jpegRepresentation(*picture, compressionFactor);
    const Clock::time_point decided{std::chrono::nanoseconds(sample.presentationTimeStamp().value)};
    const std::scoped_lock lock(mutex);
    newest = std::move(payload);
    taken = Clock::now() - decided;
    changed.notify_all();
  }

  // Waits for the payload that comes next.
  Clock::duration next() {
    std::unique_lock lock(mutex);
    if (!changed.wait_for(lock, std::chrono::seconds(10), [this] { return taken.has_value(); })) {
      throw std::runtime_error("no payload");
    }
    return *std::exchange(taken, std::nullopt);
  }

 private:
  std::unique_ptr<ImageContext> context = LinuxImageEncoder().makeContext(false);
  std::mutex mutex;
  std::condition_variable changed;
  std::optional<Data> newest;
  std::optional<Clock::duration> taken;
};

// A running stream of ours.
class OurStream {
 public:
  OurStream(const std::string& display, PixelSize picture) : capture(display) {
    std::mutex mutex;
    std::condition_variable answered;
    std::shared_ptr<ShareableDisplay> first;
    capture.getShareableContent(true, true, [&](const auto& content, const auto& /*error*/) {
      const std::scoped_lock lock(mutex);
      first = content->displays.at(0);
      answered.notify_all();
    });
    std::unique_lock lock(mutex);
    answered.wait(lock, [&first] { return first != nullptr; });
    const StreamConfiguration configuration{picture.width, picture.height,   {1, 1000}, 3,
                                            false,         pixelFormat32BGRA};
    stream = capture.makeStream({first}, configuration, {});
    if (stream->addStreamOutput(payloads, StreamOutputType::screen, queue)) {
      throw std::runtime_error("no output");
    }
    stream->startCapture({});
    payloads->next();
  }

  Clock::duration nextPayload() { return payloads->next(); }

 private:
  LinuxScreenCapture capture;
  std::shared_ptr<PayloadClock> payloads = std::make_shared<PayloadClock>();
  std::shared_ptr<ThreadQueue> queue = std::make_shared<ThreadQueue>();
  std::shared_ptr<ScreenStream> stream;
};

PixelSize screenOf(const benchmark::State& state) {
  return {static_cast<int>(state.range(0)), static_cast<int>(state.range(1))};
}
PixelSize pictureOf(const benchmark::State& state) {
  return {static_cast<int>(state.range(2)), static_cast<int>(state.range(3))};
}

double milliseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values.at(values.size() / 2);
}

// The two take turns, so that whatever else the machine does meets both alike.
void captureToPayload(benchmark::State& state) {
  TwoDesktops desktops(screenOf(state));
  BareCalls calls(desktops.display(), screenOf(state), pictureOf(state));
  OurStream stream(desktops.display(), pictureOf(state));
  std::vector<double> ours;
  std::vector<double> bare;
  std::vector<double> ratios;
  while (state.KeepRunning()) {
    desktops.show();
    const auto taken = stream.nextPayload();
    const auto start = Clock::now();
    calls.run();
    bare.push_back(milliseconds(Clock::now() - start));
    ours.push_back(milliseconds(taken));
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
