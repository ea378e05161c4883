#import "tests/macos/frameworks/Foundation/Support.h"

#include <cstring>

#include "tests/macos/standin/CallLog.h"

@interface NSValue () {
  NSSize size;
}
@end

@implementation NSValue

- (const char*)objCType {
  return @encode(NSSize);
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (BOOL)isEqual:(id)object {
  if (object_getClass(object) != [NSValue class]) return NO;
  const auto other = static_cast<NSValue*>(object)->size;
  return size.width == other.width && size.height == other.height;
}

- (NSUInteger)hash {
  return std::hash<CGFloat>()(size.width) ^ std::hash<CGFloat>()(size.height);
}

@end

@implementation NSValue (NSValueGeometryExtensions)

+ (NSValue*)valueWithSize:(NSSize)size {
  NSValue* value = [[NSValue alloc] init];
  value->size = size;
  return autoreleased(value);
}

- (NSSize)sizeValue {
  if (object_getClass(self) != [NSValue class]) {
    standin::violation("sizeValue was asked of a value that holds no size");
  }
  return size;
}

@end

@implementation NSNull

+ (NSNull*)null {
  return (NSNull*)kCFNull;
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

- (NSString*)description {
  return @"<null>";
}

@end
