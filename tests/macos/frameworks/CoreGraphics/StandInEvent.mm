#import <CoreGraphics/StandInEvent.h>

#include <atomic>

#import <CoreGraphics/LiveHandles.h>

namespace {

standin::LiveHandles& liveSources() {
  static standin::LiveHandles handles("CGEventSource");
  return handles;
}

standin::LiveHandles& liveEvents() {
  static standin::LiveHandles handles("CGEvent");
  return handles;
}

std::atomic<std::size_t> liveCount = 0;

}  // namespace

@implementation StandInEventSource

+ (instancetype)objectFor:(CGEventSourceRef)handle operation:(const char*)operation {
  if (!liveSources().check(handle, operation)) return nil;
  return (__bridge StandInEventSource*)handle;
}

- (instancetype)initWithState:(CGEventSourceStateID)state {
  self = [super init];
  if (self) {
    _state = state;
    liveSources().add((__bridge void*)self);
    ++liveCount;
  }
  return self;
}

- (void)dealloc {
  liveSources().remove((__bridge void*)self);
  --liveCount;
}

@end

@implementation StandInEvent {
  standin::PostedEvent _event;
}

+ (instancetype)objectFor:(CGEventRef)handle operation:(const char*)operation {
  if (!liveEvents().check(handle, operation)) return nil;
  return (__bridge StandInEvent*)handle;
}

- (instancetype)initWithContent:(const standin::EventContent&)content
                         source:(std::optional<CGEventSourceStateID>)source {
  self = [super init];
  if (self) {
    _event = {.content = content, .source = source};
    liveEvents().add((__bridge void*)self);
    ++liveCount;
  }
  return self;
}

- (void)dealloc {
  liveEvents().remove((__bridge void*)self);
  --liveCount;
}

- (const standin::PostedEvent&)event {
  return _event;
}

- (void)setFlags:(CGEventFlags)flags {
  _event.flags = flags;
}

- (void)setField:(CGEventField)field toInteger:(std::int64_t)value {
  _event.fields[field] = value;
}

@end

namespace standin {

std::size_t liveEventObjects() { return liveCount; }

}  // namespace standin
