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

bool saysThatThereIsNothingToStop(NSError* error) {
  return [error.domain isEqualToString:SCStreamErrorDomain] &&
         error.code == SCStreamErrorAttemptToStopStreamState;
}

}  // namespace

MacScreenStream::MacScreenStream(SCContentFilter* filter, const StreamConfiguration& configuration,
                                 std::weak_ptr<StreamDelegate> delegate)
    : delegateBridge([[QuorvinStreamDelegate alloc] initWithDelegate:std::move(delegate)]),
      stream([[SCStream alloc] initWithFilter:filter
                                configuration:toStreamConfiguration(configuration)
                                     delegate:delegateBridge]) {}

MacScreenStream::~MacScreenStream() {
  stream = nil;  // first, so that it queues nothing after these blocks
  QuorvinStreamDelegate* delegate = delegateBridge;
  for (const auto& output : outputs) {
    QuorvinStreamOutput* bridge = output.bridge;
    dispatch_async(output.queue, ^{
      static_cast<void>(delegate);
      static_cast<void>(bridge);
    });
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
  }
  const auto self = shared_from_this();
  [stream startCaptureWithCompletionHandler:^(NSError* error) {
    self->startAnswered();
    if (completion) completion(toOptionalError(error));
  }];
}

void MacScreenStream::stopCapture(Completion completion) {
  if (!isStarting()) return requestStop(std::move(completion));
  const auto self = shared_from_this();
  [stream stopCaptureWithCompletionHandler:^(NSError* error) {
    if (saysThatThereIsNothingToStop(error)) return self->stopOnceStarted(completion);
    if (completion) completion(toOptionalError(error));
  }];
}

void MacScreenStream::requestStop(Completion completion) {
  [stream stopCaptureWithCompletionHandler:handlerFor(shared_from_this(), std::move(completion))];
}

void MacScreenStream::stopOnceStarted(const Completion& completion) {
  {
    const MutexLock lock(mutex);
    if (startIsUnanswered) return refusedStops.push_back(completion);
  }
  requestStop(completion);
}

void MacScreenStream::startAnswered() {
  std::vector<Completion> refused;
  {
    const MutexLock lock(mutex);
    startIsUnanswered = false;
    refused.swap(refusedStops);
  }
  for (const auto& completion : refused) requestStop(completion);
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
