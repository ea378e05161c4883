#import "platform/macos/ScreenStream.h"

#import <CoreMedia/CoreMedia.h>

#include <utility>

#include "platform/Fatal.h"
#include "platform/macos/Dispatch.h"
#include "platform/macos/OptionalError.h"

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

// Holds the stream until it has answered: nothing promises an answer from one that was let go of.
CompletionHandler _Nullable handlerFor(SCStream* stream, Completion completion) {
  if (!completion) return nil;
  return ^(NSError* error) {
    static_cast<void>(stream);
    completion(toOptionalError(error));
  };
}

}  // namespace

MacScreenStream::MacScreenStream(SCContentFilter* filter, const StreamConfiguration& configuration,
                                 std::weak_ptr<StreamDelegate> delegate)
    : delegateBridge([[QuorvinStreamDelegate alloc] initWithDelegate:std::move(delegate)]),
      stream([[SCStream alloc] initWithFilter:filter
                                configuration:toStreamConfiguration(configuration)
                                     delegate:delegateBridge]) {}

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
  outputBridges.push_back(bridge);
  return std::nullopt;
}

void MacScreenStream::startCapture(Completion completion) {
  [stream startCaptureWithCompletionHandler:handlerFor(stream, std::move(completion))];
}

void MacScreenStream::stopCapture(Completion completion) {
  [stream stopCaptureWithCompletionHandler:handlerFor(stream, std::move(completion))];
}

void MacScreenStream::updateConfiguration(const StreamConfiguration& configuration,
                                          Completion completion) {
  [stream updateConfiguration:toStreamConfiguration(configuration)
            completionHandler:handlerFor(stream, std::move(completion))];
}

}  // namespace quorvin
