#include "platform/linux/video/FrameEncoder.h"

#include <pthread.h>

#include <algorithm>
#include <new>
#include <utility>

#include "platform/linux/video/VideoEncoder.h"

namespace quorvin {

namespace {

// An encoded frame as the seam hands it out. It has no attachments, as every frame can be
// decoded by itself. Valid for as long as the frame is.
class EncodedFrameSample final : public EncodedSample {
 public:
  explicit EncodedFrameSample(const EncodedFrame& frame) : frame(frame) {}

  [[nodiscard]] std::optional<std::vector<EncodedSampleAttachments>> attachments() const override {
    return {};
  }
  [[nodiscard]] std::optional<std::size_t> dataLength() const override {
    return frame.units.size();
  }
  [[nodiscard]] EncoderStatus copyDataBytes(std::span<std::uint8_t> destination) const override {
    if (destination.size() != frame.units.size()) {
      return statusOf(VideoEncoderStatus::invalidParameter);
    }
    std::ranges::copy(frame.units, destination.begin());
    return statusOf(VideoEncoderStatus::success);
  }
  [[nodiscard]] bool hasFormatDescription() const override { return true; }
  [[nodiscard]] std::optional<std::span<const std::uint8_t>> h264ParameterSet(
      std::size_t index) const override {
    if (index == 0) return frame.sequenceParameterSet;
    if (index == 1) return frame.pictureParameterSet;
    return {};
  }

 private:
  EncodedFrame frame;
};

}  // namespace

FrameEncoder::FrameEncoder(PixelSize captured)
    : converted(captured), library(converted.size(), settings.expectedRate) {}

void FrameEncoder::configure(const EncoderSettings& newSettings) {
  if (newSettings == settings) return;
  if (newSettings.expectedRate != settings.expectedRate) {
    library = H264Library(converted.size(), newSettings.expectedRate);
  }
  if (newSettings.averageBitRate && newSettings.averageBitRate != settings.averageBitRate) {
    rateControl.setBitRate(*newSettings.averageBitRate);
  }
  settings = newSettings;
}

std::optional<EncodedFrame> FrameEncoder::encode(const CapturedFrame& frame,
                                                 std::chrono::nanoseconds timeStamp) {
  std::span<const std::uint8_t> units;
  if (const auto qp = rateControl.begin(timeStamp, frame.isRefresh())) {
    converted.convert(frame);
    units = encodeWithinBudget(*qp);
  }
  if (const auto wait = rateControl.refreshAfter()) frame.requestRefresh(*wait);
  if (units.empty()) return {};
  return EncodedFrame{units, library.sequenceParameterSet(), library.pictureParameterSet()};
}

std::span<const std::uint8_t> FrameEncoder::encodeWithinBudget(int qp) {
  while (true) {
    const auto units = library.encode(converted, qp);
    if (units.empty()) return {};
    const auto verdict = rateControl.judge(sizeAtReceiver(units));
    if (verdict.action == RateControl::Action::keep) return units;
    if (verdict.action == RateControl::Action::drop) return {};
    qp = verdict.qp;
  }
}

// Every frame goes out with its parameter sets.
std::size_t FrameEncoder::sizeAtReceiver(std::span<const std::uint8_t> units) const {
  constexpr std::size_t startCodes = 8;
  return units.size() + library.sequenceParameterSet().size() +
         library.pictureParameterSet().size() + startCodes;
}

EncodingThread::EncodingThread(PixelSize size, CompressionOutput& output)
    : shared(std::make_shared<Shared>(size, output)),
      thread([shared = shared] { shared->run(); }) {}

EncodingThread::~EncodingThread() {
  end();
  if (isCurrent()) {
    thread.detach();
  } else {
    thread.join();
  }
}

void EncodingThread::setSettings(const EncoderSettings& settings) {
  const MutexLock lock(shared->mutex);
  shared->settings = settings;
}

void EncodingThread::put(std::shared_ptr<const CapturedFrame> frame,
                         std::chrono::nanoseconds timeStamp) {
  const MutexLock lock(shared->mutex);
  shared->jobs.push_back({std::move(frame), timeStamp});
  shared->changed.notify_all();
}

void EncodingThread::waitFor(std::chrono::nanoseconds until) {
  if (isCurrent()) return;
  MutexLock lock(shared->mutex);
  shared->changed.wait(lock.forWaiting(), [this, until]() QUORVIN_REQUIRES(shared->mutex) {
    if (shared->underWay && *shared->underWay <= until) return false;
    return std::ranges::none_of(shared->jobs,
                                [until](const Job& job) { return job.timeStamp <= until; });
  });
}

void EncodingThread::end() {
  std::deque<Job> dropped;
  MutexLock lock(shared->mutex);
  shared->hasEnded = true;
  dropped.swap(shared->jobs);
  shared->changed.notify_all();
  if (!isCurrent())
    shared->changed.wait(lock.forWaiting(), [this]() QUORVIN_REQUIRES(shared->mutex) {
      return !shared->isHandingOut;
    });
}

void EncodingThread::Shared::run() {
  pthread_setname_np(pthread_self(), "VideoEncoder");
  Job job;
  while (takeJob(job)) {
    process(std::move(job));
    finishJob();
  }
}

bool EncodingThread::Shared::takeJob(Job& job) {
  MutexLock lock(mutex);
  changed.wait(lock.forWaiting(),
               [this]() QUORVIN_REQUIRES(mutex) { return hasEnded || !jobs.empty(); });
  if (hasEnded) return false;
  job = std::move(jobs.front());
  jobs.pop_front();
  underWay = job.timeStamp;
  return true;
}

void EncodingThread::Shared::process(Job job) {
  std::optional<EncodedFrame> encoded;
  auto status = VideoEncoderStatus::success;
  try {
    EncoderSettings current;
    {
      const MutexLock lock(mutex);
      current = settings;
    }
    encoder.configure(current);
    encoded = encoder.encode(*job.frame, job.timeStamp);
  } catch (const std::bad_alloc&) {
    status = VideoEncoderStatus::noResources;
  }
  // Its surface is free for the stream again before anybody looks at the result.
  job.frame.reset();
  handOut(encoded, statusOf(status));
}

void EncodingThread::Shared::handOut(const std::optional<EncodedFrame>& frame,
                                     EncoderStatus status) {
  {
    const MutexLock lock(mutex);
    if (hasEnded) return;
    isHandingOut = true;
  }
  if (frame) {
    const EncodedFrameSample sample(*frame);
    output.compressionDidOutput(status, &sample);
  } else {
    output.compressionDidOutput(status, nullptr);
  }
  const MutexLock lock(mutex);
  isHandingOut = false;
}

void EncodingThread::Shared::finishJob() {
  const MutexLock lock(mutex);
  underWay.reset();
  changed.notify_all();
}

}  // namespace quorvin
