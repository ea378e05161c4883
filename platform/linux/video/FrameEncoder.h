#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <thread>

#include "platform/Mutex.h"
#include "platform/VideoEncoder.h"
#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/video/H264Library.h"
#include "platform/linux/video/RateControl.h"
#include "platform/linux/video/YuvFrame.h"

namespace quorvin {

struct EncoderSettings {
  std::optional<std::int64_t> averageBitRate;  // bits a second; empty: as it comes
  int expectedRate = 30;                       // frames a second

  friend bool operator==(const EncoderSettings&, const EncoderSettings&) = default;
};

// Valid until the encoder is used again.
struct EncodedFrame {
  std::span<const std::uint8_t> units;  // each after its length as four bytes, big-endian
  std::span<const std::uint8_t> sequenceParameterSet;
  std::span<const std::uint8_t> pictureParameterSet;
};

// Encodes captured frames of one size within the budget, and requests a refresh of those that came
// out coarse. One thread at a time. Everything may throw std::bad_alloc.
class FrameEncoder {
 public:
  explicit FrameEncoder(PixelSize captured);

  void configure(const EncoderSettings& newSettings);
  // Nothing when the budget has no room for the frame, or the library failed.
  [[nodiscard]] std::optional<EncodedFrame> encode(const CapturedFrame& frame,
                                                   std::chrono::nanoseconds timeStamp);

 private:
  [[nodiscard]] std::span<const std::uint8_t> encodeWithinBudget(int qp);
  [[nodiscard]] std::size_t sizeAtReceiver(std::span<const std::uint8_t> units) const;

  EncoderSettings settings;
  YuvFrame converted;
  H264Library library;
  RateControl rateControl;
};

// Encodes frames one after the other on a thread of its own and hands out what came of them. How
// many can wait is bounded by the surfaces of the stream that they come from. Any thread, the
// encoding one included, from which nothing waits.
class EncodingThread {
 public:
  // Throws std::bad_alloc or std::system_error when the system has nothing left for it.
  EncodingThread(PixelSize size, CompressionOutput& output);
  ~EncodingThread();

  void setSettings(const EncoderSettings& settings);
  void put(std::shared_ptr<const CapturedFrame> frame, std::chrono::nanoseconds timeStamp);
  // Waits until all frames up to that time have been handed out.
  void waitFor(std::chrono::nanoseconds until);
  // Drops what waits. Nothing is handed out any more once this has returned.
  void end();

 private:
  struct Job {
    std::shared_ptr<const CapturedFrame> frame;
    std::chrono::nanoseconds timeStamp{};
  };
  // What the thread and its owner share. It outlives an owner that the thread itself lets go.
  struct Shared {
    Shared(PixelSize size, CompressionOutput& output) : encoder(size), output(output) {}

    void run();
    [[nodiscard]] bool takeJob(Job& job);
    void process(Job job);
    void handOut(const std::optional<EncodedFrame>& frame, EncoderStatus status);
    void finishJob();

    FrameEncoder encoder;  // the thread's
    CompressionOutput& output;

    Mutex mutex;
    std::condition_variable changed;
    EncoderSettings settings QUORVIN_GUARDED_BY(mutex);
    std::deque<Job> jobs QUORVIN_GUARDED_BY(mutex);
    // The time stamp of the job at hand.
    std::optional<std::chrono::nanoseconds> underWay QUORVIN_GUARDED_BY(mutex);
    bool isHandingOut QUORVIN_GUARDED_BY(mutex) = false;
    bool hasEnded QUORVIN_GUARDED_BY(mutex) = false;
  };

  [[nodiscard]] bool isCurrent() const { return thread.get_id() == std::this_thread::get_id(); }

  std::shared_ptr<Shared> shared;
  std::thread thread;
};

}  // namespace quorvin
