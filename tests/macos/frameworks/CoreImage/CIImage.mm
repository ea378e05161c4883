#import <CoreImage/CIImage.h>

#import <CoreImage/CoreImageState.h>
#import <CoreImage/StandInCIImage.h>

#include "tests/macos/standin/CallLog.h"

@implementation CIImage {
  StandInPixelBuffer* _source;
}

- (instancetype)initWithCVPixelBuffer:(CVPixelBufferRef)pixelBuffer {
  standin::record("-[CIImage initWithCVPixelBuffer:]");
  StandInPixelBuffer* source = [StandInPixelBuffer objectFor:pixelBuffer
                                                   operation:"-[CIImage initWithCVPixelBuffer:]"];
  self = [super init];
  if (source == nil || standin::coreImageState().failsToCreate) return nil;
  if (self) _source = source;
  return self;
}

- (CGRect)extent {
  return {{0, 0}, {static_cast<CGFloat>(_source.width), static_cast<CGFloat>(_source.height)}};
}

- (StandInPixelBuffer*)source {
  return _source;
}

@end
