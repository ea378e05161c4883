#import <VideoToolbox/StandInCompressionSession.h>

#include <atomic>
#include <optional>
#include <string>
#include <utility>

#import <CoreGraphics/LiveHandles.h>

#include "tests/macos/standin/CallLog.h"

using standin::violation;

namespace {

standin::LiveHandles& liveSessions() {
  static standin::LiveHandles handles("VTCompressionSession");
  return handles;
}

std::atomic<std::size_t> liveSessionCount = 0;

bool isNumber(CMTime time) {
  return CMTIME_IS_VALID(time) && (time.flags & kCMTimeFlags_ImpliedValueFlagsMask) == 0 &&
         time.timescale > 0;
}

bool isLater(CMTime time, CMTime earlier) {
  __extension__ using Product = __int128;
  return static_cast<Product>(time.value) * earlier.timescale >
         static_cast<Product>(earlier.value) * time.timescale;
}

}  // namespace

@implementation StandInCompressionSession {
  std::shared_ptr<standin::EncodedFrameOutlet> _outlet;
  std::mutex _mutex;  // guards the rest
  std::optional<CMTime> _lastTimeStamp;
  BOOL _isInvalidated;
}

+ (instancetype)usableObjectFor:(CFTypeRef)handle operation:(const char*)operation {
  if (!liveSessions().check(handle, operation)) return nil;
  StandInCompressionSession* session = (__bridge StandInCompressionSession*)handle;
  if (!session.isInvalidated) return session;
  violation(std::string(operation) + " on an invalidated session");
  return nil;
}

- (instancetype)initWithOutlet:(std::shared_ptr<standin::EncodedFrameOutlet>)outlet {
  self = [super init];
  if (self) {
    _outlet = std::move(outlet);
    liveSessions().add((__bridge void*)self);
    ++liveSessionCount;
  }
  return self;
}

- (void)dealloc {
  // Its callback may come for an encoder that is gone.
  if (!_outlet->isEmpty()) violation("a compression session was released with frames in it");
  liveSessions().remove((__bridge void*)self);
  --liveSessionCount;
}

- (standin::EncodedFrameOutlet&)outlet {
  return *_outlet;
}

- (BOOL)isInvalidated {
  const std::lock_guard lock(_mutex);
  return _isInvalidated;
}

- (void)checkTimeStamp:(CMTime)timeStamp {
  const std::lock_guard lock(_mutex);
  if (!isNumber(timeStamp)) {
    violation("a frame without a time stamp");
    return;
  }
  if (_lastTimeStamp && !isLater(timeStamp, *_lastTimeStamp)) {
    violation("a frame's time stamp is not after the one before");
  }
  _lastTimeStamp = timeStamp;
}

- (void)invalidate {
  {
    const std::lock_guard lock(_mutex);
    _isInvalidated = YES;
  }
  _outlet->close();
}

@end

namespace standin {

std::size_t liveCompressionSessions() { return liveSessionCount; }

}  // namespace standin
