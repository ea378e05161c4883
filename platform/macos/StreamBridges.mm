#import "platform/macos/StreamBridges.h"

#include <utility>

#include "platform/macos/Bridging.h"
#include "platform/macos/CaptureSample.h"

@implementation QuorvinStreamOutput {
  std::weak_ptr<quorvin::StreamOutput> _output;
}

- (instancetype)initWithOutput:(std::weak_ptr<quorvin::StreamOutput>)output {
  self = [super init];
  if (self) _output = std::move(output);
  return self;
}

- (void)stream:(SCStream*)stream
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
                   ofType:(SCStreamOutputType)type {
  if (const auto output = _output.lock()) {
    output->streamDidOutputSample(quorvin::MacCaptureSample(sampleBuffer),
                                  static_cast<quorvin::StreamOutputType>(type));
  }
}

@end

@implementation QuorvinStreamDelegate {
  std::weak_ptr<quorvin::StreamDelegate> _delegate;
}

- (instancetype)initWithDelegate:(std::weak_ptr<quorvin::StreamDelegate>)delegate {
  self = [super init];
  if (self) _delegate = std::move(delegate);
  return self;
}

- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error {
  if (const auto delegate = _delegate.lock()) {
    delegate->streamDidStopWithError(quorvin::toError(error));
  }
}

@end
