#pragma once

#import <CoreVideo/CoreVideo.h>
#import <Foundation/Foundation.h>

#include <cstdint>
#include <memory>

NS_ASSUME_NONNULL_BEGIN

// What a CVPixelBufferRef points at, for the stand-ins that work on pixels. Any thread.
@interface StandInPixelBuffer : NSObject
// The object behind the handle; nil, and a violation, when it has been released.
+ (nullable instancetype)objectFor:(nullable CVPixelBufferRef)handle
                         operation:(const char*)operation;
- (instancetype)initWithWidth:(size_t)width height:(size_t)height NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;

@property(nonatomic, readonly) size_t width;
@property(nonatomic, readonly) size_t height;
@property(nonatomic, readonly) size_t bytesPerRow;  // more than the pixels of a row take
@property(nonatomic, readonly) std::uint8_t* bytes;

- (std::uint8_t*)pixelAtX:(size_t)x y:(size_t)y;  // blue, green, red, alpha
- (std::weak_ptr<const void>)lifetime;            // expires with this object
@end

NS_ASSUME_NONNULL_END
