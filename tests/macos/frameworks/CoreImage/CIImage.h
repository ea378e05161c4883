#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <CoreVideo/CoreVideo.h>
#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

// A recipe for an image; nothing is rendered before a context is asked to.
@interface CIImage : NSObject
- (instancetype)initWithCVPixelBuffer:(CVPixelBufferRef)pixelBuffer;
@property(readonly) CGRect extent;
@end

NS_ASSUME_NONNULL_END
