#pragma once

#import <Foundation/NSObjCRuntime.h>

typedef CGSize NSSize;
typedef CGRect NSRect;

NS_INLINE NSSize NSMakeSize(CGFloat width, CGFloat height) { return {width, height}; }

NS_INLINE NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  return {{x, y}, {width, height}};
}

static const NSRect NSZeroRect = {{0, 0}, {0, 0}};
