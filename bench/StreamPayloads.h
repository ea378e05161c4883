#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/linux/capture/ScreenCapture.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/jpeg/ImageEncoder.h"
#include "tests/linux/capture/ThreadQueue.h"

namespace quorvin {

// A running stream of an X server's screen, without the pointer and as fast as the screen changes,
// and one image context that makes a JPEG file at quality 72 of each frame on a thread of its
// own. One thread at a time.
class StreamPayloads {
 public:
  using Clock = std::chrono::steady_clock;

  // When the stream decided to capture a frame, and when its file was there.
  struct Times {
    Clock::time_point decided;
    Clock::time_point done;
  };

  // Returns when the first file is there.
  StreamPayloads(const std::string& server, PixelSize frame);

  // Waits for the next file; throws std::runtime_error when none comes.
  Times next() { return output->next(); }

 private:
  class Output final : public StreamOutput {
   public:
    void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override;
    Times next();

   private:
    std::unique_ptr<ImageContext> context = LinuxImageEncoder().makeContext(false);
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Data> newest;
    std::optional<Times> times;
  };

  LinuxScreenCapture capture;
  std::shared_ptr<Output> output = std::make_shared<Output>();
  std::shared_ptr<ThreadQueue> queue = std::make_shared<ThreadQueue>();
  std::shared_ptr<ScreenStream> stream;
};

}  // namespace quorvin
