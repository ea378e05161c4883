#include "platform/linux/capture/ScreenCaptureStream.h"

#include <utility>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

namespace {

Error invalid(const char* sentence) {
  return x11Error(X11ErrorCode::invalidParameter, sentence);
}

}  // namespace

LinuxScreenStream::LinuxScreenStream(std::optional<CaptureTarget> target,
                                     const StreamConfiguration& configuration,
                                     std::weak_ptr<StreamDelegate> delegate,
                                     std::shared_ptr<CaptureCounters> counters)
    : hasTarget(target.has_value()),
      worker(std::make_shared<CaptureWorker>(std::move(target).value_or(CaptureTarget{}),
                                             configuration, std::move(delegate),
                                             std::move(counters))) {}

LinuxScreenStream::~LinuxScreenStream() {
  worker->quit();
}

std::optional<Error> LinuxScreenStream::addStreamOutput(
    std::weak_ptr<StreamOutput> output, StreamOutputType type,
    std::shared_ptr<DispatchQueue> sampleHandlerQueue) {
  if (type != StreamOutputType::screen) return invalid("Only the screen can be captured.");
  if (output.expired() || !sampleHandlerQueue) {
    return invalid("A capture's output needs a handler and a queue.");
  }
  if (!currentOutput.expired()) return invalid("The capture has an output already.");
  currentOutput = output;
  worker->addOutput({std::move(output), std::move(sampleHandlerQueue)});
  return {};
}

void LinuxScreenStream::startCapture(Completion completion) {
  if (hasTarget) {
    worker->start(completion);
  } else if (completion) {
    completion(invalid("A capture needs a display to capture."));
  }
}

void LinuxScreenStream::stopCapture(Completion completion) {
  worker->stop(completion);
}

void LinuxScreenStream::updateConfiguration(const StreamConfiguration& configuration,
                                            Completion completion) {
  worker->update(configuration, completion);
}

}  // namespace quorvin
