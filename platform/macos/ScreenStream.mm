#import "platform/macos/ScreenStream.h"

#import <CoreMedia/CoreMedia.h>

#include <utility>

#include "platform/Fatal.h"
#import "platform/macos/Bridging.h"
#include "platform/macos/Dispatch.h"

namespace quorvin {
namespace {

// The numbers are the same on both sides, which lets the microphone pass although the oldest
// supported system has no name for it.
static_assert(static_cast<NSInteger>(StreamOutputType::screen) == SCStreamOutputTypeScreen);
static_assert(static_cast<NSInteger>(StreamOutputType::audio) == SCStreamOutputTypeAudio);

SCStreamConfiguration* toStreamConfiguration(const StreamConfiguration& configuration) {
  SCStreamConfiguration* result = [[SCStreamConfiguration alloc] init];
  result.width = static_cast<size_t>(configuration.width);
  result.height = static_cast<size_t>(configuration.height);
  result.minimumFrameInterval = CMTimeMake(configuration.minimumFrameInterval.value,
                                           configuration.minimumFrameInterval.timescale);
  result.queueDepth = configuration.queueDepth;
  result.showsCursor = configuration.showsCursor;
  result.pixelFormat = configuration.pixelFormat;
  return result;
}

using CompletionHandler = void (^)(NSError* _Nullable);

CompletionHandler _Nullable handlerFor(std::shared_ptr<MacScreenStream> stream,
                                       Completion completion) {
  if (!completion) return nil;
  return ^(NSError* error) {
    static_cast<void>(stream);  // held until here
    completion(toOptionalError(error));
  };
}

bool isStreamError(NSError* error, SCStreamErrorCode code) {
  return [error.domain isEqualToString:SCStreamErrorDomain] && error.code == code;
}

bool saysThatThereIsNothingToStop(NSError* error) {
  return isStreamError(error, SCStreamErrorAttemptToStopStreamState);
}

bool saysThatItRunsAlready(NSError* error) {
  return isStreamError(error, SCStreamErrorAttemptToStartStreamState);
}

}  // namespace

MacScreenStream::MacScreenStream(SCContentFilter* filter, const StreamConfiguration& configuration,
                                 std::weak_ptr<StreamDelegate> delegate)
    : delegateBridge([[QuorvinStreamDelegate alloc] initWithDelegate:std::move(delegate)]),
      stream([[SCStream alloc] initWithFilter:filter
                                configuration:toStreamConfiguration(configuration)
                                     delegate:delegateBridge]) {}

MacScreenStream::~MacScreenStream() {
  __block SCStream* ending = std::exchange(stream, nil);
  const auto lastOutputs = outputs;
  QuorvinStreamDelegate* delegate = delegateBridge;
  const auto end = ^(NSError*) {
    ending = nil;  // first, so that it queues nothing after these blocks
    for (const auto& output : lastOutputs) {
      QuorvinStreamOutput* bridge = output.bridge;
      dispatch_async(output.queue, ^{
        static_cast<void>(delegate);
        static_cast<void>(bridge);
      });
    }
  };
  if (takeOwedStop()) {
    [ending stopCaptureWithCompletionHandler:end];
  } else {
    end(nil);
  }
}

std::optional<Error> MacScreenStream::addStreamOutput(
    std::weak_ptr<StreamOutput> output, StreamOutputType type,
    std::shared_ptr<DispatchQueue> sampleHandlerQueue) {
  const auto* queue = dynamic_cast<const MacDispatchQueue*>(sampleHandlerQueue.get());
  if (queue == nullptr) fatalError("A stream was to deliver on a queue of another maker.");
  QuorvinStreamOutput* bridge = [[QuorvinStreamOutput alloc] initWithOutput:std::move(output)];
  NSError* error = nil;
  if (![stream addStreamOutput:bridge
                          type:static_cast<SCStreamOutputType>(type)
            sampleHandlerQueue:queue->queue()
                         error:&error]) {
    return toError(error);
  }
  outputs.push_back({bridge, queue->queue()});
  return std::nullopt;
}

void MacScreenStream::startCapture(Completion completion) {
  {
    const MutexLock lock(mutex);
    startIsUnanswered = true;
    isStopOwed = true;
  }
  const auto self = shared_from_this();
  [stream startCaptureWithCompletionHandler:^(NSError* error) {
    self->startAnswered(error);
    if (completion) completion(toOptionalError(error));
  }];
}

void MacScreenStream::stopCapture(Completion completion) {
  if (!isStarting()) return requestStop(std::move(completion));
  const auto self = shared_from_this();
  [stream stopCaptureWithCompletionHandler:^(NSError* error) {
    if (saysThatThereIsNothingToStop(error)) return self->stopOnceStarted(completion);
    static_cast<void>(self->takeOwedStop());
    if (completion) completion(toOptionalError(error));
  }];
}

void MacScreenStream::requestStop(Completion completion) {
  static_cast<void>(takeOwedStop());
  [stream stopCaptureWithCompletionHandler:handlerFor(shared_from_this(), std::move(completion))];
}

void MacScreenStream::stopOnceStarted(const Completion& completion) {
  {
    const MutexLock lock(mutex);
    if (startIsUnanswered) return refusedStops.push_back(completion);
  }
  requestStop(completion);
}

void MacScreenStream::startAnswered(NSError* error) {
  std::vector<Completion> refused;
  {
    const MutexLock lock(mutex);
    startIsUnanswered = false;
    if (error != nil && !saysThatItRunsAlready(error)) isStopOwed = false;
    refused.swap(refusedStops);
  }
  for (const auto& completion : refused) requestStop(completion);
}

bool MacScreenStream::takeOwedStop() {
  const MutexLock lock(mutex);
  return std::exchange(isStopOwed, false);
}

bool MacScreenStream::isStarting() {
  const MutexLock lock(mutex);
  return startIsUnanswered;
}

void MacScreenStream::updateConfiguration(const StreamConfiguration& configuration,
                                          Completion completion) {
  [stream updateConfiguration:toStreamConfiguration(configuration)
            completionHandler:handlerFor(shared_from_this(), std::move(completion))];
}

}  // namespace quorvin
