#pragma once

#import <CoreGraphics/CGEventTypes.h>
#import <CoreGraphics/CGGeometry.h>
#import <CoreGraphics/CGRemoteOperation.h>

CF_ASSUME_NONNULL_BEGIN
CF_EXTERN_C_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

CGEventRef _Nullable CGEventCreateMouseEvent(CGEventSourceRef _Nullable source,
                                             CGEventType mouseType, CGPoint mouseCursorPosition,
                                             CGMouseButton mouseButton);
CGEventRef _Nullable CGEventCreateKeyboardEvent(CGEventSourceRef _Nullable source,
                                                CGKeyCode virtualKey, bool keyDown);
// Wheels beyond the count are not looked at.
CGEventRef _Nullable CGEventCreateScrollWheelEvent2(CGEventSourceRef _Nullable source,
                                                    CGScrollEventUnit units, uint32_t wheelCount,
                                                    int32_t wheel1, int32_t wheel2, int32_t wheel3);
CGEventFlags CGEventGetFlags(CGEventRef _Nullable event);
void CGEventSetFlags(CGEventRef _Nullable event, CGEventFlags flags);
void CGEventSetIntegerValueField(CGEventRef _Nullable event, CGEventField field, int64_t value);
void CGEventPost(CGEventTapLocation tap, CGEventRef _Nullable event);

CF_IMPLICIT_BRIDGING_DISABLED
CF_EXTERN_C_END
CF_ASSUME_NONNULL_END
