// What the host adds to the library calls without which no frame becomes H.264. In one run, in
// turns: converting a captured desktop of 1920 x 1080 with libyuv and encoding it with x264,
// nothing around them; and the host's way from the captured frame to the finished payload, with
// its own conversion, its budget and its thread. Both use the same settings and the same QP.
// The fetch from the screen, which both would need alike, is left out. Times are the processor's,
// of all threads, since the machine may have other things to do. The counters are medians of a run;
// the ratio is meant to stay at or below 1.10.

#include <benchmark/benchmark.h>
#include <libyuv/convert_from_argb.h>
#include <x264.h>

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "Runner/QuorvinH264Encoder.h"
#include "bench/Desktop.h"
#include "bench/Measures.h"
#include "platform/linux/video/RateControl.h"
#include "platform/linux/video/VideoEncoder.h"
#include "tests/linux/video/TestFrames.h"

namespace quorvin {
namespace {

constexpr int widthPx = 1920;
constexpr int heightPx = 1080;

class BareCalls {
 public:
  BareCalls() : planes(std::size_t{widthPx} * heightPx * 3 / 2) {
    x264_param_t parameters;
    x264_param_default_preset(&parameters, "ultrafast", "zerolatency");
    parameters.i_log_level = X264_LOG_NONE;
    parameters.i_width = widthPx;
    parameters.i_height = heightPx;
    parameters.i_csp = X264_CSP_NV12;
    parameters.i_threads = 1;
    parameters.b_sliced_threads = 0;
    parameters.i_keyint_max = 1;
    parameters.b_annexb = 0;
    parameters.b_repeat_headers = 0;
    parameters.rc.i_rc_method = X264_RC_CQP;
    parameters.rc.i_qp_constant = RateControl::qpMin;
    encoder.reset(x264_encoder_open(&parameters));
    if (!encoder) throw std::runtime_error("no encoder");
  }

  void run(const CapturedFrame& frame) {
    std::uint8_t* lumas = planes.data();
    std::uint8_t* chromas = lumas + std::size_t{widthPx} * heightPx;
    libyuv::ARGBToNV12(frame.data(), static_cast<int>(frame.strideBytes()), lumas, widthPx, chromas,
                       widthPx, widthPx, heightPx);
    x264_picture_t input;
    x264_picture_init(&input);
    input.img.i_csp = X264_CSP_NV12;
    input.img.i_plane = 2;
    input.img.plane[0] = lumas;
    input.img.plane[1] = chromas;
    input.img.i_stride[0] = widthPx;
    input.img.i_stride[1] = widthPx;
    input.i_type = X264_TYPE_IDR;
    input.i_qpplus1 = RateControl::qpMin + 1;
    input.i_pts = frames++;
    x264_picture_t output;
    x264_nal_t* nals = nullptr;
    int count = 0;
    if (x264_encoder_encode(encoder.get(), &nals, &count, &input, &output) <= 0) {
      throw std::runtime_error("not encoded");
    }
  }

 private:
  std::vector<std::uint8_t> planes;
  std::unique_ptr<x264_t, decltype(&x264_encoder_close)> encoder{nullptr, &x264_encoder_close};
  std::int64_t frames = 0;
};

class OurWay {
 public:
  void run(const std::shared_ptr<CapturedFrame>& frame) {
    std::unique_lock lock(mutex);
    isDone = false;
    encoder->encode(frame, {++frames, 30});
    done.wait(lock, [this] { return isDone; });
  }

 private:
  // More than the frames need, so that they get the finest QP.
  static constexpr std::int64_t plentyMbps = 1000;

  std::mutex mutex;
  std::condition_variable done;
  bool isDone = false;
  std::int64_t frames = 0;
  LinuxVideoEncoder library;
  std::shared_ptr<QuorvinH264Encoder> encoder = std::make_shared<QuorvinH264Encoder>(
      library, widthPx, heightPx, 30, plentyMbps, [this](const Data& payload) {
        benchmark::DoNotOptimize(payload.data());
        const std::scoped_lock lock(mutex);
        isDone = true;
        done.notify_all();
      });
};

void frameToH264Payload(benchmark::State& state) {
  const PixelSize size{widthPx, heightPx};
  const std::array frames{makeFrame(size, desktopImage(widthPx, heightPx, 1)),
                          makeFrame(size, desktopImage(widthPx, heightPx, 2))};
  BareCalls bareCalls;
  OurWay ourWay;
  std::vector<double> ours;
  std::vector<double> bare;
  std::vector<double> ratios;
  std::size_t shown = 0;
  while (state.KeepRunning()) {
    const auto& frame = frames.at(++shown % frames.size());
    const auto start = ownProcessorTime();
    ourWay.run(frame);
    const auto between = ownProcessorTime();
    bareCalls.run(*frame);
    ours.push_back(milliseconds(between - start));
    bare.push_back(milliseconds(ownProcessorTime() - between));
    ratios.push_back(ours.back() / bare.back());
    state.SetIterationTime(ours.back() / 1000);
  }
  state.counters["oursMs"] = median(ours);
  state.counters["bareMs"] = median(bare);
  state.counters["ratio"] = median(ratios);
}
BENCHMARK(frameToH264Payload)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(60)
    ->Repetitions(5)
    ->ReportAggregatesOnly();

}  // namespace
}  // namespace quorvin

BENCHMARK_MAIN();
