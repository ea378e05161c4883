#pragma once

#include <condition_variable>
#include <memory>
#include <thread>
#include <vector>

#include "platform/Mutex.h"
#include "platform/ScreenCapture.h"
#include "platform/linux/capture/CaptureSession.h"

namespace quorvin {

// Lets the samples of one run of a stream through to their handler until it is closed. Any thread.
class DeliveryGate {
 public:
  // Held while a handler runs; false when the gate was closed already.
  class Pass {
   public:
    explicit Pass(DeliveryGate& gate) : gate(gate), entered(gate.enter()) {}
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    ~Pass() {
      if (entered) gate.leave();
    }
    explicit operator bool() const { return entered; }

   private:
    DeliveryGate& gate;
    bool entered;
  };

  // False when it was closed before.
  bool close();
  // Returns once no handler is running any more; afterwards none will. A handler that closed the
  // gate itself is not waited for, so that it may in turn wait for what follows.
  void waitUntilQuiet();

 private:
  bool enter();
  void leave();
  void forgetCurrentThread() QUORVIN_REQUIRES(mutex);

  Mutex mutex;
  std::condition_variable quiet;
  std::vector<std::thread::id> inside QUORVIN_GUARDED_BY(mutex);
  bool closed QUORVIN_GUARDED_BY(mutex) = false;
};

// Carries samples from the capturing thread to one handler on its queue.
class CaptureOutput {
 public:
  CaptureOutput(std::weak_ptr<StreamOutput> handler, std::shared_ptr<DispatchQueue> queue);

  // Queues what came of a step. The handler sees it unless the gate is closed by then. An idle
  // sample is left out while an earlier one still waits, so that a handler that hangs does not
  // make them pile up; frames are bounded by their surfaces.
  void deliver(CaptureStep step, const std::shared_ptr<DeliveryGate>& gate);

 private:
  void send(std::shared_ptr<const CaptureSample> sample, const std::shared_ptr<DeliveryGate>& gate);

  std::weak_ptr<StreamOutput> handler;
  std::shared_ptr<DispatchQueue> queue;
  std::weak_ptr<const CaptureSample> lastIdle;
};

}  // namespace quorvin
