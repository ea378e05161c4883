#import "tests/macos/frameworks/Foundation/Support.h"

#include "tests/macos/standin/CallLog.h"

// Core Foundation's types are Foundation's classes, so its functions are messages to them.

namespace {

id object(CFTypeRef value) { return (id)value; }

CFTypeID typeOf(Class aClass) { return reinterpret_cast<CFTypeID>(aClass); }

// The real functions crash on a null reference.
bool isReference(CFTypeRef value, const char* operation) {
  if (value != nullptr) return true;
  standin::violation(std::string(operation) + " was called with NULL");
  return false;
}

}  // namespace

CFTypeID CFGetTypeID(CFTypeRef value) {
  if (!isReference(value, "CFGetTypeID")) return 0;
  return typeOf([object(value) standInTypeClass]);
}

CFTypeRef CFRetain(CFTypeRef value) {
  if (isReference(value, "CFRetain")) [object(value) retain];
  return value;
}

void CFRelease(CFTypeRef value) {
  if (isReference(value, "CFRelease")) [object(value) release];
}

CFIndex CFGetRetainCount(CFTypeRef value) {
  return static_cast<CFIndex>([object(value) retainCount]);
}

Boolean CFEqual(CFTypeRef left, CFTypeRef right) {
  if (!isReference(left, "CFEqual") || !isReference(right, "CFEqual")) return false;
  return [object(left) isEqual:object(right)];
}

CFTypeID CFBooleanGetTypeID() { return CFGetTypeID(kCFBooleanTrue); }

CFTypeID CFNumberGetTypeID() { return typeOf([NSNumber class]); }

CFTypeID CFStringGetTypeID() { return typeOf([NSString class]); }

CFTypeID CFDataGetTypeID() { return typeOf([NSData class]); }

CFTypeID CFArrayGetTypeID() { return typeOf([NSArray class]); }

CFTypeID CFDictionaryGetTypeID() { return typeOf([NSDictionary class]); }

CFTypeID CFNullGetTypeID() { return typeOf([NSNull class]); }
