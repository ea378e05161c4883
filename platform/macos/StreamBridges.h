#pragma once

#import <Foundation/Foundation.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <memory>

#include "platform/ScreenCapture.h"

NS_ASSUME_NONNULL_BEGIN

// What ScreenCaptureKit talks to. A stream may call these when the capture that wanted to know is
// already gone, so they know it weakly and then do nothing.

// Passes samples on, on the queue that the stream was given.
@interface QuorvinStreamOutput : NSObject <SCStreamOutput>
- (instancetype)initWithOutput:(std::weak_ptr<quorvin::StreamOutput>)output
    NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;
@end

// Passes on that the system ended the stream, on whatever thread it says so.
@interface QuorvinStreamDelegate : NSObject <SCStreamDelegate>
- (instancetype)initWithDelegate:(std::weak_ptr<quorvin::StreamDelegate>)delegate
    NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;
@end

NS_ASSUME_NONNULL_END
