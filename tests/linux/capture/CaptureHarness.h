#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/capture/ScreenCapture.h"
#include "tests/linux/capture/SampleRecorder.h"
#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/capture/ThreadQueue.h"
#include "tests/linux/capture/X11Proxy.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {

// A capture of a virtual X server of 320 x 240 pixels, with all that belongs to it.
class CaptureHarness {
 public:
  enum class Way { direct, throughProxy };

  // The options are those of Xvfb.
  explicit CaptureHarness(std::vector<std::string> options = {}, Way toServer = Way::direct);

  // 320 x 240, no cursor, 30 frames a second, three surfaces.
  [[nodiscard]] static StreamConfiguration usualConfiguration();

  // The displays that the back end lists.
  [[nodiscard]] std::vector<std::shared_ptr<ShareableDisplay>> displays();
  // Makes the stream of the first display listed, which is a monitor that was defined, if any.
  void makeStream(const StreamConfiguration& configuration);
  // As above, and starts it; false when that failed.
  [[nodiscard]] bool start(const StreamConfiguration& configuration);
  // Stops it and waits for the answer.
  [[nodiscard]] bool stop();
  // Waits until everything that is in the handler's queue now has run.
  void drainQueue();

  XServer server;
  ScreenPainter painter;
  std::unique_ptr<X11Proxy> proxy;  // null when there is none between capture and server
  std::shared_ptr<CaptureCounters> counters = std::make_shared<CaptureCounters>();
  LinuxScreenCapture capture;
  std::shared_ptr<SampleRecorder> recorder = std::make_shared<SampleRecorder>();
  std::shared_ptr<StopRecorder> delegate = std::make_shared<StopRecorder>();
  std::shared_ptr<ThreadQueue> queue = std::make_shared<ThreadQueue>();
  std::shared_ptr<ScreenStream> stream;
};

}  // namespace quorvin
