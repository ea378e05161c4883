#pragma once

#include <memory>

#include "platform/ScreenCapture.h"
#include "platform/linux/capture/CaptureGate.h"
#include "platform/linux/capture/CaptureSession.h"

namespace quorvin {

// Carries samples from the capturing thread to one handler on its queue.
class CaptureOutput {
 public:
  CaptureOutput(std::weak_ptr<StreamOutput> handler, std::shared_ptr<DispatchQueue> queue);

  // Queues what came of a step. The handler sees it unless the gate is closed by then. An idle
  // sample is left out while an earlier one still waits, so that a handler that hangs does not
  // make them pile up; pictures are bounded by their surfaces.
  void deliver(CaptureStep step, const std::shared_ptr<CaptureGate>& gate);

 private:
  void send(std::shared_ptr<const CaptureSample> sample, const std::shared_ptr<CaptureGate>& gate);

  std::weak_ptr<StreamOutput> handler;
  std::shared_ptr<DispatchQueue> queue;
  std::weak_ptr<const CaptureSample> lastIdle;
};

}  // namespace quorvin
