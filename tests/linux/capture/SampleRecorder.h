#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// What a test waits for comes within this time or never.
inline constexpr std::chrono::seconds testTimeout{20};

// One delivered sample and a copy of its frame.
struct RecordedSample {
  std::int64_t status = -1;
  PixelSize size;                     // 0 x 0 without a frame
  std::vector<std::uint32_t> pixels;  // rows from the top
  std::chrono::nanoseconds time{};    // on the monotonic clock

  [[nodiscard]] bool isComplete() const { return status == frameStatusComplete; }
  // As 0xRRGGBB.
  [[nodiscard]] std::uint32_t colourAt(int x, int y) const;
  // Scaling rounds, so a scaled colour may be a little off.
  [[nodiscard]] bool isAbout(int x, int y, std::uint32_t colour) const;
};

// Writes down every sample of a stream, and keeps hold of the frames if it is told to.
class SampleRecorder final : public StreamOutput {
 public:
  using Condition = std::function<bool(const std::vector<RecordedSample>&)>;

  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override;

  // Runs at the end of each sample, on the queue's thread.
  void onSample(std::function<void()> action);
  void holdFrames();
  void letFramesGo();

  // False when the condition did not come true in time.
  [[nodiscard]] bool waitFor(const Condition& condition);
  [[nodiscard]] bool waitForSamples(std::size_t count);
  [[nodiscard]] bool waitForFrames(std::size_t count);
  // Waits until the newest sample is an idle one.
  [[nodiscard]] bool waitForIdleSample();
  // Waits until this is true of the newest frame.
  [[nodiscard]] bool waitForFrame(const std::function<bool(const RecordedSample&)>& condition);
  // Waits until the newest frame has about this colour at this place.
  [[nodiscard]] bool waitForColour(int x, int y, std::uint32_t colour);
  [[nodiscard]] std::vector<RecordedSample> samples();
  [[nodiscard]] std::vector<RecordedSample> frames();

 private:
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<RecordedSample> recorded;
  std::vector<std::shared_ptr<PixelBuffer>> held;
  bool holding = false;
  std::function<void()> action;
};

// Counts what a stream reports to its delegate.
class StopRecorder final : public StreamDelegate {
 public:
  void streamDidStopWithError(const Error& error) override;

  [[nodiscard]] bool waitForStop();
  [[nodiscard]] std::vector<Error> errors();

 private:
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Error> recorded;
};

// Waits for the one answer of an operation.
class Answer {
 public:
  // May outlive this object.
  [[nodiscard]] Completion completion();
  // False when no answer came in time.
  [[nodiscard]] bool wait();
  // How often it was answered.
  [[nodiscard]] int count();
  [[nodiscard]] std::optional<Error> error();

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;
    std::optional<Error> error;
  };
  std::shared_ptr<State> state = std::make_shared<State>();
};

}  // namespace quorvin
