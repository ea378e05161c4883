#import <ScreenCaptureKit/StreamRecord.h>

#import <CoreMedia/CoreMediaControl.h>
#import <CoreVideo/StandInPixelBuffer.h>
#import <ScreenCaptureKit/CaptureState.h>

#include <algorithm>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"

namespace standin {
namespace {

constexpr std::int64_t shallowestQueue = 3;

}  // namespace

bool StreamRecord::isAlive() const {
  const std::lock_guard lock(mutex);
  return isAttached;
}

bool StreamRecord::isRunning() const {
  const std::lock_guard lock(mutex);
  return running;
}

std::vector<StreamSettings> StreamRecord::settings() const {
  const std::lock_guard lock(mutex);
  return allSettings;
}

std::size_t StreamRecord::countFrames() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(frames, [](const auto& frame) { return !frame.expired(); }));
}

std::size_t StreamRecord::framesHeld() const {
  const std::lock_guard lock(mutex);
  return countFrames();
}

bool StreamRecord::sendSample(const SampleScript& script) {
  @autoreleasepool {
    SampleBufferScript sample{.isValid = script.isValid,
                              .attachments = script.attachments,
                              .presentationTimeStamp = script.presentationTimeStamp};
    {
      const std::lock_guard lock(mutex);
      if (!running) return false;
      const auto& current = allSettings.back();
      if (script.hasFrame) {
        if (countFrames() >= static_cast<std::size_t>(current.queueDepth)) return false;
        const auto size = script.size.value_or(PixelSize{current.width, current.height});
        sample.imageBuffer = makePixelBuffer(size.width, size.height, script.colour);
        frames.push_back([static_cast<StandInPixelBuffer*>(sample.imageBuffer) lifetime]);
      }
    }
    [stream deliverSample:makeSampleBuffer(sample) ofType:script.type];
    return true;
  }
}

void StreamRecord::stopWithError(const ErrorScript& error) {
  {
    const std::lock_guard lock(mutex);
    running = false;
  }
  __weak SCStream* ended = stream;
  onSystemThread([ended, error] {
    @autoreleasepool {
      [ended reportStopWithError:makeError(error)];
    }
  });
}

void StreamRecord::attach(SCStream* owner) {
  const std::lock_guard lock(mutex);
  stream = owner;
  isAttached = true;
}

void StreamRecord::leaveSampleBehind() {
  const std::lock_guard lock(mutex);
  leavesSample = true;
}

id StreamRecord::detach() {
  const std::lock_guard lock(mutex);
  isAttached = false;
  if (running) violation("an SCStream was let go of while it runs, and goes on capturing");
  return leavesSample ? makeSampleBuffer({.attachments = SampleScript().attachments}) : nil;
}

NSError* StreamRecord::refuse(CaptureRequest request, bool isAllowed, SCStreamErrorCode code,
                              const char* operation) {
  if (const auto failure = captureState().takeFailure(request)) return makeError(*failure);
  if (isAllowed) return nil;
  captureState().noteWrongState(operation);
  return makeError(streamError(code, "The stream is in the wrong state."));
}

NSError* StreamRecord::refuseDepth(const StreamSettings& settings) const {
  if (settings.queueDepth >= shallowestQueue) return nil;
  return makeError(streamError(SCStreamErrorInvalidParameter, "The queue is too short."));
}

NSError* StreamRecord::start(bool isToBeAnswered) {
  const std::lock_guard lock(mutex);
  NSError* error = refuse(CaptureRequest::start, !running, SCStreamErrorAttemptToStartStreamState,
                          "-[SCStream startCaptureWithCompletionHandler:]");
  if (error == nil) error = refuseDepth(allSettings.back());
  if (error == nil) running = true;
  if (error == nil) startIsUnanswered = isToBeAnswered;
  return error;
}

void StreamRecord::noteStartAnswered() {
  const std::lock_guard lock(mutex);
  startIsUnanswered = false;
}

NSError* StreamRecord::stop() {
  const std::lock_guard lock(mutex);
  NSError* error = refuse(CaptureRequest::stop, running && !startIsUnanswered,
                          SCStreamErrorAttemptToStopStreamState,
                          "-[SCStream stopCaptureWithCompletionHandler:]");
  if (error == nil) running = false;
  return error;
}

NSError* StreamRecord::update(const StreamSettings& settings) {
  const std::lock_guard lock(mutex);
  NSError* error = refuse(CaptureRequest::update, running, SCStreamErrorAttemptToConfigState,
                          "-[SCStream updateConfiguration:completionHandler:]");
  if (error == nil) error = refuseDepth(settings);
  if (error == nil) allSettings.push_back(settings);
  return error;
}

}  // namespace standin
