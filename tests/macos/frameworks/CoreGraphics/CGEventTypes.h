#pragma once

#import <CoreFoundation/CoreFoundation.h>

// No value that is left out here is used.

typedef struct CF_BRIDGED_TYPE(id) __CGEvent* CGEventRef;
typedef struct CF_BRIDGED_TYPE(id) __CGEventSource* CGEventSourceRef;

typedef CF_ENUM(uint32_t, CGMouseButton) {
  kCGMouseButtonLeft = 0,
  kCGMouseButtonRight = 1,
  kCGMouseButtonCenter = 2,
};

typedef CF_ENUM(uint32_t, CGScrollEventUnit) {
  kCGScrollEventUnitPixel = 0,
};

typedef CF_OPTIONS(uint64_t, CGEventFlags) {
  kCGEventFlagMaskShift = 0x00020000,
  kCGEventFlagMaskControl = 0x00040000,
  kCGEventFlagMaskAlternate = 0x00080000,
  kCGEventFlagMaskCommand = 0x00100000,
};

typedef CF_ENUM(uint32_t, CGEventType) {
  kCGEventLeftMouseDown = 1,
  kCGEventLeftMouseUp = 2,
  kCGEventRightMouseDown = 3,
  kCGEventRightMouseUp = 4,
  kCGEventMouseMoved = 5,
  kCGEventLeftMouseDragged = 6,
  kCGEventRightMouseDragged = 7,
  kCGEventOtherMouseDown = 25,
  kCGEventOtherMouseUp = 26,
  kCGEventOtherMouseDragged = 27,
};

typedef CF_ENUM(uint32_t, CGEventField) {
  kCGMouseEventClickState = 1,
};

// The places where events enter the system.
typedef CF_ENUM(uint32_t, CGEventTapLocation) {
  kCGSessionEventTap = 1,
};

// Whose keys and buttons a source takes to be down.
typedef CF_ENUM(int32_t, CGEventSourceStateID) {
  kCGEventSourceStateCombinedSessionState = 0,
};
