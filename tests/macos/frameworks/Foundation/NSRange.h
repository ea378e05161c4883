#pragma once

#import <Foundation/NSObjCRuntime.h>

typedef struct _NSRange {
  NSUInteger location;
  NSUInteger length;
} NSRange;

typedef NSRange* NSRangePointer;

NS_INLINE NSRange NSMakeRange(NSUInteger location, NSUInteger length) {
  NSRange range;
  range.location = location;
  range.length = length;
  return range;
}

NS_INLINE NSUInteger NSMaxRange(NSRange range) { return range.location + range.length; }

NS_INLINE BOOL NSEqualRanges(NSRange left, NSRange right) {
  return left.location == right.location && left.length == right.length;
}
