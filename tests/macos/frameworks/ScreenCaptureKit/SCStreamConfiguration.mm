#import <ScreenCaptureKit/SCStreamConfiguration.h>

#include <string>

#include "tests/macos/standin/CallLog.h"

using standin::record;
using standin::violation;

namespace {

constexpr NSInteger deepestQueue = 8;

}  // namespace

// Every setter writes itself into the call log and refuses what the documentation rules out.
@implementation SCStreamConfiguration {
  standin::StreamSettings _settings;
}

// Written and never read back.
@dynamic width, height, minimumFrameInterval, pixelFormat, showsCursor, queueDepth;

- (standin::StreamSettings)settings {
  return _settings;
}

- (void)setWidth:(size_t)width {
  record("-[SCStreamConfiguration setWidth:]", {std::to_string(width)});
  if (width == 0) violation("-[SCStreamConfiguration setWidth:] of no pixels");
  _settings.width = width;
}

- (void)setHeight:(size_t)height {
  record("-[SCStreamConfiguration setHeight:]", {std::to_string(height)});
  if (height == 0) violation("-[SCStreamConfiguration setHeight:] of no pixels");
  _settings.height = height;
}

- (void)setMinimumFrameInterval:(CMTime)interval {
  record("-[SCStreamConfiguration setMinimumFrameInterval:]",
         {std::to_string(interval.value), std::to_string(interval.timescale)});
  if (CMTIME_IS_INVALID(interval) || interval.value < 0) {
    violation("-[SCStreamConfiguration setMinimumFrameInterval:] of no duration");
  }
  _settings.intervalValue = interval.value;
  _settings.intervalTimescale = interval.timescale;
}

- (void)setPixelFormat:(OSType)pixelFormat {
  record("-[SCStreamConfiguration setPixelFormat:]", {std::to_string(pixelFormat)});
  if (pixelFormat != kCVPixelFormatType_32BGRA) {
    violation("this stand-in captures 32BGRA frames only");
  }
  _settings.pixelFormat = pixelFormat;
}

- (void)setShowsCursor:(BOOL)showsCursor {
  record("-[SCStreamConfiguration setShowsCursor:]", {showsCursor ? "YES" : "NO"});
  _settings.showsCursor = showsCursor;
}

- (void)setQueueDepth:(NSInteger)queueDepth {
  record("-[SCStreamConfiguration setQueueDepth:]", {std::to_string(queueDepth)});
  if (queueDepth < 1 || queueDepth > deepestQueue) {
    violation("-[SCStreamConfiguration setQueueDepth:] outside of 1 to 8");
  }
  _settings.queueDepth = queueDepth;
}

@end
