#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/ScreenCapture.h"
#include "tests/contract/Record.h"

namespace quorvin::contract {

struct FrameSize {
  std::size_t width = 0;
  std::size_t height = 0;

  friend bool operator==(const FrameSize&, const FrameSize&) = default;
};

struct SampleNote {
  bool isValid = false;
  bool isOnQueue = false;
  StreamOutputType type = StreamOutputType::audio;
  std::optional<std::int64_t> status;  // of the only attachments
  std::optional<FrameSize> frame;

  [[nodiscard]] bool isComplete() const { return status == frameStatusComplete; }
};

// Writes down every sample of a stream.
class SampleRecorder final : public StreamOutput {
 public:
  explicit SampleRecorder(std::shared_ptr<DispatchQueue> queue) : queue(std::move(queue)) {}

  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override {
    SampleNote note{sample.isValid(), queue->isCurrent(), type, {}, {}};
    const auto attachments = sample.attachments();
    if (attachments && attachments->size() == 1) note.status = attachments->front().frameStatus;
    if (const auto frame = sample.imageBuffer()) {
      note.frame = {frame->widthPx(), frame->heightPx()};
      if (frames != nullptr) frames->add(frame);
    }
    samples.add(note);
    if (onSample) onSample();
  }

  [[nodiscard]] std::size_t framesOf(const FrameSize& size) const {
    std::size_t count = 0;
    for (const auto& sample : samples.all()) {
      if (sample.isComplete() && sample.frame == size) ++count;
    }
    return count;
  }

  Record<SampleNote> samples;
  // To be set before the start: where frames are kept, each of which slows the stream, and what
  // else happens at each sample.
  std::unique_ptr<Record<std::shared_ptr<PixelBuffer>>> frames;
  std::function<void()> onSample;

 private:
  const std::shared_ptr<DispatchQueue> queue;
};

class StopRecorder final : public StreamDelegate {
 public:
  void streamDidStopWithError(const Error& error) override { errors.add(error); }

  Record<Error> errors;
};

using AnswerRecord = Record<std::optional<Error>>;

inline Completion noteAnswer(const AnswerRecord& answers) {
  return [answers](const std::optional<Error>& error) {
    answers.add(error);
  };
}

}  // namespace quorvin::contract
