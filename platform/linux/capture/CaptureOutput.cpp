#include "platform/linux/capture/CaptureOutput.h"

#include <chrono>
#include <utility>

#include "platform/linux/frame/CapturedSample.h"

namespace quorvin {

namespace {

MediaTime mediaTimeOf(CaptureTime time) {
  return {std::chrono::nanoseconds(time.time_since_epoch()).count(), std::nano::den};
}

}  // namespace

CaptureOutput::CaptureOutput(std::weak_ptr<StreamOutput> handler,
                             std::shared_ptr<DispatchQueue> queue)
    : handler(std::move(handler)), queue(std::move(queue)) {}

void CaptureOutput::deliver(CaptureStep step, const std::shared_ptr<CaptureGate>& gate) {
  switch (step.outcome) {
    case CaptureStep::Outcome::nothing:
      break;
    case CaptureStep::Outcome::idle:
      if (lastIdle.expired()) {
        auto idle =
            std::make_shared<CapturedSample>(frameStatusIdle, mediaTimeOf(step.at), nullptr);
        lastIdle = idle;
        send(std::move(idle), gate);
      }
      break;
    case CaptureStep::Outcome::picture:
      send(std::make_shared<CapturedSample>(frameStatusComplete, mediaTimeOf(step.at),
                                            std::move(step.picture)),
           gate);
      break;
  }
}

void CaptureOutput::send(std::shared_ptr<const CaptureSample> sample,
                         const std::shared_ptr<CaptureGate>& gate) {
  queue->async([handler = handler, sample = std::move(sample), gate] {
    const CaptureGate::Pass pass(*gate);
    if (!pass) return;
    if (const auto output = handler.lock()) {
      output->streamDidOutputSample(*sample, StreamOutputType::screen);
    }
  });
}

}  // namespace quorvin
