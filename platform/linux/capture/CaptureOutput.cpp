#include "platform/linux/capture/CaptureOutput.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/frame/CapturedFrame.h"

namespace quorvin {

namespace {

// A sample as the stream delivers it: always valid, with its one attachment. Any thread.
class LinuxCaptureSample final : public CaptureSample {
 public:
  LinuxCaptureSample(std::int64_t frameStatus, MediaTime time, std::shared_ptr<CapturedFrame> frame)
      : frameStatus(frameStatus), time(time), frame(std::move(frame)) {}

  [[nodiscard]] bool isValid() const override { return true; }
  [[nodiscard]] std::optional<std::vector<SampleAttachments>> attachments() const override {
    return std::vector{SampleAttachments{frameStatus}};
  }
  [[nodiscard]] std::shared_ptr<PixelBuffer> imageBuffer() const override { return frame; }
  // When the capture was decided on, in nanoseconds of the monotonic clock.
  [[nodiscard]] MediaTime presentationTimeStamp() const override { return time; }

 private:
  std::int64_t frameStatus;
  MediaTime time;
  std::shared_ptr<CapturedFrame> frame;
};

MediaTime mediaTimeOf(CaptureTime time) {
  return {std::chrono::nanoseconds(time.time_since_epoch()).count(), std::nano::den};
}

}  // namespace

bool DeliveryGate::close() {
  const MutexLock lock(mutex);
  forgetCurrentThread();
  return !std::exchange(closed, true);
}

void DeliveryGate::waitUntilQuiet() {
  MutexLock lock(mutex);
  quiet.wait(lock.forWaiting(), [this]() QUORVIN_REQUIRES(mutex) { return inside.empty(); });
}

bool DeliveryGate::enter() {
  const MutexLock lock(mutex);
  if (closed) return false;
  inside.push_back(std::this_thread::get_id());
  return true;
}

void DeliveryGate::leave() {
  const MutexLock lock(mutex);
  forgetCurrentThread();
}

void DeliveryGate::forgetCurrentThread() {
  const auto current = std::ranges::find(inside, std::this_thread::get_id());
  if (current == inside.end()) return;
  inside.erase(current);
  quiet.notify_all();
}

CaptureOutput::CaptureOutput(std::weak_ptr<StreamOutput> handler,
                             std::shared_ptr<DispatchQueue> queue)
    : handler(std::move(handler)), queue(std::move(queue)) {}

void CaptureOutput::deliver(CaptureStep step, const std::shared_ptr<DeliveryGate>& gate) {
  switch (step.outcome) {
    case CaptureStep::Outcome::nothing:
      break;
    case CaptureStep::Outcome::idle:
      if (lastIdle.expired()) {
        auto idle =
            std::make_shared<LinuxCaptureSample>(frameStatusIdle, mediaTimeOf(step.at), nullptr);
        lastIdle = idle;
        send(std::move(idle), gate);
      }
      break;
    case CaptureStep::Outcome::frame:
      send(std::make_shared<LinuxCaptureSample>(frameStatusComplete, mediaTimeOf(step.at),
                                                std::move(step.frame)),
           gate);
      break;
  }
}

void CaptureOutput::send(std::shared_ptr<const CaptureSample> sample,
                         const std::shared_ptr<DeliveryGate>& gate) {
  queue->async([handler = handler, sample = std::move(sample), gate] {
    const DeliveryGate::Pass pass(*gate);
    if (!pass) return;
    if (const auto output = handler.lock()) {
      output->streamDidOutputSample(*sample, StreamOutputType::screen);
    }
  });
}

}  // namespace quorvin
