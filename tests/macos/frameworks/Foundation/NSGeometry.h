#pragma once

#import <Foundation/NSObjCRuntime.h>

typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;

NS_INLINE NSPoint NSMakePoint(CGFloat x, CGFloat y) {
  NSPoint point;
  point.x = x;
  point.y = y;
  return point;
}

NS_INLINE NSSize NSMakeSize(CGFloat width, CGFloat height) {
  NSSize size;
  size.width = width;
  size.height = height;
  return size;
}

NS_INLINE NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  NSRect rect;
  rect.origin = NSMakePoint(x, y);
  rect.size = NSMakeSize(width, height);
  return rect;
}

NS_INLINE CGFloat NSMaxX(NSRect rect) { return rect.origin.x + rect.size.width; }

NS_INLINE CGFloat NSMaxY(NSRect rect) { return rect.origin.y + rect.size.height; }

NS_INLINE BOOL NSEqualRects(NSRect left, NSRect right) {
  return left.origin.x == right.origin.x && left.origin.y == right.origin.y &&
         left.size.width == right.size.width && left.size.height == right.size.height;
}

static const NSPoint NSZeroPoint = {0, 0};
static const NSSize NSZeroSize = {0, 0};
static const NSRect NSZeroRect = {{0, 0}, {0, 0}};
