#pragma once

#import <ScreenCaptureKit/SCStream.h>

NS_ASSUME_NONNULL_BEGIN

// What the filter was made of, for the stream.
@interface SCContentFilter (StandIn)
- (SCDisplay*)display;
- (size_t)excludedWindowCount;
@end

NS_ASSUME_NONNULL_END
