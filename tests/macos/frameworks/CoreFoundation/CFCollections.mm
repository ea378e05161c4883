#import "tests/macos/frameworks/Foundation/Support.h"

#include "tests/macos/standin/CallLog.h"

namespace {

void requireTypeCallBacks(bool areTypeCallBacks) {
  if (!areTypeCallBacks) standin::violation("collections hold Core Foundation objects only here");
}

bool isIn(NSArray* array, CFIndex index) {
  if (index >= 0 && static_cast<NSUInteger>(index) < array.count) return true;
  standin::violation("CFArrayGetValueAtIndex: index " + std::to_string(index) + " out of bounds");
  return false;
}

}  // namespace

CFArrayRef CFArrayCreate(CFAllocatorRef /*allocator*/, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks) {
  requireTypeCallBacks(callBacks == &kCFTypeArrayCallBacks);
  return (CFArrayRef)[[NSArray alloc] initWithObjects:reinterpret_cast<const id*>(values)
                                                count:static_cast<NSUInteger>(count)];
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef /*allocator*/, CFIndex /*capacity*/,
                                       const CFArrayCallBacks* callBacks) {
  requireTypeCallBacks(callBacks == &kCFTypeArrayCallBacks);
  return (CFMutableArrayRef)[[NSMutableArray alloc] init];
}

CFIndex CFArrayGetCount(CFArrayRef array) { return static_cast<CFIndex>([(NSArray*)array count]); }

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  NSArray* objects = (NSArray*)array;
  return isIn(objects, index) ? (const void*)objects[static_cast<NSUInteger>(index)] : nullptr;
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
  [(NSMutableArray*)array addObject:(id)value];
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef /*allocator*/, const void** keys,
                                   const void** values, CFIndex count,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  requireTypeCallBacks(keyCallBacks == &kCFTypeDictionaryKeyCallBacks &&
                       valueCallBacks == &kCFTypeDictionaryValueCallBacks);
  return (CFDictionaryRef)
      [[NSDictionary alloc] initWithObjects:reinterpret_cast<const id*>(values)
                                    forKeys:reinterpret_cast<const id<NSCopying>*>(keys)
                                      count:static_cast<NSUInteger>(count)];
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef /*allocator*/, CFIndex /*capacity*/,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
  requireTypeCallBacks(keyCallBacks == &kCFTypeDictionaryKeyCallBacks &&
                       valueCallBacks == &kCFTypeDictionaryValueCallBacks);
  return (CFMutableDictionaryRef)[[NSMutableDictionary alloc] init];
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
  return static_cast<CFIndex>([(NSDictionary*)dictionary count]);
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key) {
  return CFDictionaryGetValue(dictionary, key) != nullptr;
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  return [(NSDictionary*)dictionary objectForKey:(id)key];
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
  [(NSMutableDictionary*)dictionary setObject:(id)value forKey:(id)key];
}
