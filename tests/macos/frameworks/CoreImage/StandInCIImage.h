#pragma once

#import <CoreImage/CIImage.h>
#import <CoreVideo/StandInPixelBuffer.h>

NS_ASSUME_NONNULL_BEGIN

@interface CIImage (StandIn)
- (StandInPixelBuffer*)source;
@end

NS_ASSUME_NONNULL_END
