#pragma once

#import <CoreGraphics/CGEventControl.h>
#import <Foundation/Foundation.h>

#include <optional>

NS_ASSUME_NONNULL_BEGIN

// What a CGEventSourceRef points at: a state that never changes.
@interface StandInEventSource : NSObject
// The object behind the handle; nil, and a violation, when it has been released.
+ (nullable instancetype)objectFor:(CGEventSourceRef)handle operation:(const char*)operation;
- (instancetype)initWithState:(CGEventSourceStateID)state NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;

@property(nonatomic, readonly) CGEventSourceStateID state;
@end

// What a CGEventRef points at. One thread at a time.
@interface StandInEvent : NSObject
// The object behind the handle; nil, and a violation, when there is none or it has been released.
+ (nullable instancetype)objectFor:(nullable CGEventRef)handle operation:(const char*)operation;
- (instancetype)initWithContent:(const standin::EventContent&)content
                         source:(std::optional<CGEventSourceStateID>)source
    NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;

@property(nonatomic, readonly) const standin::PostedEvent& event;

- (void)setFlags:(CGEventFlags)flags;
- (void)setField:(CGEventField)field toInteger:(std::int64_t)value;
@end

NS_ASSUME_NONNULL_END
