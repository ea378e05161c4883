#import "tests/macos/frameworks/Foundation/Support.h"

#include "tests/macos/frameworks/Foundation/NumberSupport.h"
#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"

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

CFTypeID CFBooleanGetTypeID() { return CFGetTypeID(kCFBooleanTrue); }

CFTypeID CFNumberGetTypeID() { return typeOf([NSNumber class]); }

CFTypeID CFStringGetTypeID() { return typeOf([NSString class]); }

Boolean CFBooleanGetValue(CFBooleanRef boolean) { return boolean == kCFBooleanTrue; }

CFNumberType CFNumberGetType(CFNumberRef number) {
  switch (standin::numberIn((NSNumber*)number).type) {
    case 'i':
      return kCFNumberSInt32Type;
    case 'q':
      return kCFNumberSInt64Type;
    case 'd':
      return kCFNumberFloat64Type;
    default:
      standin::violation("CFNumberGetType of a number whose type has no name here");
      return {};
  }
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
  const auto type = standin::numberIn((NSNumber*)number).type;
  return type == 'f' || type == 'd';
}

const CFRunLoopMode kCFRunLoopDefaultMode = CFSTR("kCFRunLoopDefaultMode");

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode /*mode*/, CFTimeInterval seconds,
                                      Boolean /*returnAfterSourceHandled*/) {
  standin::advance(static_cast<std::uint64_t>(seconds * 1e9));
  return kCFRunLoopRunTimedOut;
}
