#pragma once

#import <Foundation/NSObjCRuntime.h>

typedef struct _NSRange {
  NSUInteger location;
  NSUInteger length;
} NSRange;

NS_INLINE NSRange NSMakeRange(NSUInteger location, NSUInteger length) { return {location, length}; }

NS_INLINE NSUInteger NSMaxRange(NSRange range) { return range.location + range.length; }
