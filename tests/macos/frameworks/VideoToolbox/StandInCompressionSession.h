#pragma once

#import <Foundation/Foundation.h>
#import <VideoToolbox/EncodedFrameOutlet.h>

NS_ASSUME_NONNULL_BEGIN

// What a VTCompressionSessionRef points at. Any thread.
@interface StandInCompressionSession : NSObject
// The object behind the handle; nil, and a violation, when it has been released or invalidated.
+ (nullable instancetype)usableObjectFor:(nullable CFTypeRef)handle
                               operation:(const char*)operation;

- (instancetype)initWithOutlet:(std::shared_ptr<standin::EncodedFrameOutlet>)outlet
    NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;

@property(readonly) standin::EncodedFrameOutlet& outlet;

// Records a violation unless the time stamp is a number and greater than the last one.
- (void)checkTimeStamp:(CMTime)timeStamp;
- (void)invalidate;
@end

NS_ASSUME_NONNULL_END
