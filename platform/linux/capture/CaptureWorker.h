#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Mutex.h"
#include "platform/ScreenCapture.h"
#include "platform/linux/capture/CaptureOutput.h"
#include "platform/linux/capture/CaptureSession.h"

namespace quorvin {

// The thread of one stream. It runs the capture and, between two steps, the commands of other
// threads in their order. The thread keeps the worker, so that nobody waits for it to end, and a
// completion or delegate that it calls may do anything, even release the stream.
class CaptureWorker : public std::enable_shared_from_this<CaptureWorker> {
 public:
  CaptureWorker(CaptureTarget target, const StreamConfiguration& configuration,
                std::weak_ptr<StreamDelegate> delegate, std::shared_ptr<CaptureCounters> counters);

  // Any thread may call these. Completions run on the worker's thread, or at once if the system
  // has no thread left.
  void addOutput(CaptureOutput output);
  // Answers in any case, after two seconds with an error if the server is stuck.
  void start(const Completion& completion);
  // No sample is handed out from now on, the ones in the queue included.
  void stop(const Completion& completion);
  // Answers at once, since the worker may be waiting for a server that is stuck: what makes sense
  // is taken on, and counts from the next frame that is made.
  void update(const StreamConfiguration& newConfiguration, const Completion& completion);
  // Stops everything and ends the thread. Nothing may be asked afterwards.
  void quit();

 private:
  using Command = std::function<void()>;

  void launch() QUORVIN_REQUIRES(mutex);
  // False if it could not be done, and the completion knows.
  bool post(Command command, const Completion& completion);
  void run();
  void runCommands();
  // What comes between two steps.
  struct Pause {
    CaptureTime until = CaptureTime::max();
    bool hearsServer = true;
  };
  [[nodiscard]] Pause advance();
  void wait(const Pause& pause);

  void startNow(const Completion& completion);
  void stopNow(const Completion& completion);
  void updateNow(const CaptureSettings& settings);
  void fail(const Error& error);
  [[nodiscard]] std::shared_ptr<DeliveryGate> currentGate();
  void setGate(std::shared_ptr<DeliveryGate> newGate);
  // True if this ended a run.
  bool closeGate();

  const CaptureTarget target;
  const std::weak_ptr<StreamDelegate> delegate;
  const std::shared_ptr<CaptureCounters> counters;

  Mutex mutex;
  std::vector<Command> commands QUORVIN_GUARDED_BY(mutex);
  // Made under the mutex when the thread is, which begins by taking it; unchanged from then on.
  std::shared_ptr<EventFd> wakeup;
  // Of the present run; changed by the worker's thread only.
  std::shared_ptr<DeliveryGate> gate QUORVIN_GUARDED_BY(mutex);

  // Of the worker's thread alone.
  StreamConfiguration configuration;
  std::optional<CaptureOutput> output;
  std::unique_ptr<CaptureSession> session;
  bool quitting = false;
};

}  // namespace quorvin
