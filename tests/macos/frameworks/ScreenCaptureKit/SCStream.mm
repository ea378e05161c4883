#import <ScreenCaptureKit/SCStream.h>

#import <ScreenCaptureKit/CaptureState.h>
#import <ScreenCaptureKit/SCContentFilter.h>
#import <ScreenCaptureKit/SCStreamConfiguration.h>
#import <ScreenCaptureKit/StreamRecord.h>

#include <utility>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"

SCStreamFrameInfo const SCStreamFrameInfoStatus = @"SCStreamUpdateFrameStatus";

using standin::captureState;
using standin::record;
using standin::violation;

using ErrorHandler = void (^)(NSError*);

namespace {

// Held weakly, like the delegate: nothing promises that a stream keeps them.
struct Output {
  __weak id<SCStreamOutput> receiver;
  SCStreamOutputType type;
  dispatch_queue_t queue;
};

std::string named(const void* object) { return object == nullptr ? "nil" : "given"; }

// A stream that is gone by then answers nobody.
void answer(SCStream* stream, ErrorHandler handler, NSError* error) {
  if (handler == nil) return;
  __weak SCStream* weakStream = stream;
  captureState().answers.give([weakStream, handler, error] {
    SCStream* answering = weakStream;
    if (answering != nil) handler(error);
  });
}

void deliver(const Output& output, SCStream* stream, id sample) {
  __weak id<SCStreamOutput> weakReceiver = output.receiver;
  const auto type = output.type;
  dispatch_block_t work = ^{
    id<SCStreamOutput> receiver = weakReceiver;
    if (receiver == nil) return violation("a sample for an output that is gone");
    if (![receiver respondsToSelector:@selector(stream:didOutputSampleBuffer:ofType:)]) return;
    [receiver stream:stream didOutputSampleBuffer:(__bridge CMSampleBufferRef)sample ofType:type];
  };
  if (output.queue != nil) return dispatch_async(output.queue, work);
  standin::onSystemThread([work] { work(); });
}

}  // namespace

@implementation SCStream {
  std::shared_ptr<standin::StreamRecord> _record;
  __weak id<SCStreamDelegate> _delegate;
  std::mutex _outputsMutex;
  std::vector<Output> _outputs;
}

- (instancetype)initWithFilter:(SCContentFilter*)contentFilter
                 configuration:(SCStreamConfiguration*)streamConfig
                      delegate:(id<SCStreamDelegate>)delegate {
  record("-[SCStream initWithFilter:configuration:delegate:]", {named((__bridge void*)delegate)});
  if (contentFilter == nil || streamConfig == nil) violation("an SCStream made with nil");
  self = [super init];
  if (self) {
    _delegate = delegate;
    _record = std::make_shared<standin::StreamRecord>(
        contentFilter.display.displayID, contentFilter.excludedWindowCount, streamConfig.settings);
    _record->attach(self);
    captureState().addStream(_record);
  }
  return self;
}

- (void)dealloc {
  id sample = _record->detach();
  if (sample == nil) return;
  SCStream* gone = nil;
  for (const auto& output : _outputs) deliver(output, gone, sample);
}

- (BOOL)addStreamOutput:(id<SCStreamOutput>)output
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(dispatch_queue_t)sampleHandlerQueue
                  error:(NSError**)error {
  const char* label =
      sampleHandlerQueue == nil ? "nil" : dispatch_queue_get_label(sampleHandlerQueue);
  record("-[SCStream addStreamOutput:type:sampleHandlerQueue:error:]",
         {std::to_string(type), label});
  if (output == nil) violation("-[SCStream addStreamOutput:...] of nil");
  if (const auto failure = captureState().takeFailure(standin::CaptureRequest::addOutput)) {
    if (error != nullptr) *error = standin::makeError(*failure);
    return NO;
  }
  const std::lock_guard lock(_outputsMutex);
  _outputs.push_back({output, type, sampleHandlerQueue});
  return YES;
}

- (void)startCaptureWithCompletionHandler:(ErrorHandler)completionHandler {
  record("-[SCStream startCaptureWithCompletionHandler:]",
         {named((__bridge void*)completionHandler)});
  NSError* error = _record->start(completionHandler != nil);
  if (completionHandler == nil) return;
  const auto started = _record;
  answer(
      self,
      ^(NSError* given) {
        started->noteStartAnswered();
        completionHandler(given);
      },
      error);
}

- (void)stopCaptureWithCompletionHandler:(ErrorHandler)completionHandler {
  record("-[SCStream stopCaptureWithCompletionHandler:]",
         {named((__bridge void*)completionHandler)});
  answer(self, completionHandler, _record->stop());
}

- (void)updateConfiguration:(SCStreamConfiguration*)streamConfig
          completionHandler:(ErrorHandler)completionHandler {
  record("-[SCStream updateConfiguration:completionHandler:]",
         {named((__bridge void*)completionHandler)});
  if (streamConfig == nil) return violation("-[SCStream updateConfiguration:...] with nil");
  answer(self, completionHandler, _record->update(streamConfig.settings));
}

- (void)deliverSample:(id)sample ofType:(SCStreamOutputType)type {
  std::vector<Output> receivers;
  {
    const std::lock_guard lock(_outputsMutex);
    receivers = _outputs;
  }
  for (const auto& output : receivers) {
    if (output.type == type) deliver(output, self, sample);
  }
}

- (void)reportStopWithError:(NSError*)error {
  id<SCStreamDelegate> delegate = _delegate;
  if (![delegate respondsToSelector:@selector(stream:didStopWithError:)]) return;
  [delegate stream:self didStopWithError:error];
}

@end
