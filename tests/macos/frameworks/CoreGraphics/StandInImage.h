#pragma once

#import <CoreGraphics/CGImage.h>
#import <Foundation/Foundation.h>

#include <cstdint>
#include <vector>

NS_ASSUME_NONNULL_BEGIN

// What a CGImageRef points at: an opaque bitmap, immutable. Any thread.
@interface StandInImage : NSObject
// The object behind the handle; nil, and a violation, when it has been released.
+ (nullable instancetype)objectFor:(nullable CGImageRef)handle operation:(const char*)operation;
// Red, green, blue, alpha; rows follow each other without a gap.
- (instancetype)initWithWidth:(size_t)width
                       height:(size_t)height
                       pixels:(std::vector<std::uint8_t>)pixels NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;

@property(nonatomic, readonly) size_t width;
@property(nonatomic, readonly) size_t height;
@property(nonatomic, readonly) const std::uint8_t* pixels;
@end

NS_ASSUME_NONNULL_END
