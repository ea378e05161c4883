#import "tests/macos/frameworks/Foundation/Support.h"

// Objects that are there before any code runs, and for ever.

extern "C" {
extern objc::Class booleanClass asm("OBJC_CLASS_$___NSCFBoolean");
extern objc::Class nullClass asm("OBJC_CLASS_$_NSNull");
extern objc::Class objectClass asm("OBJC_CLASS_$_NSObject");
}

namespace {

struct StaticObject {
  objc::Header header{objc::Header::immortal, objc::Header::alive};
  objc::Object object;

  explicit constexpr StaticObject(objc::Class* aClass) : object{aClass} {}
};

constinit StaticObject trueObject(&booleanClass);
constinit StaticObject falseObject(&booleanClass);
constinit StaticObject nullObject(&nullClass);
constinit StaticObject nullAllocator(&objectClass);

}  // namespace

const CFBooleanRef kCFBooleanTrue = reinterpret_cast<CFBooleanRef>(&trueObject.object);
const CFBooleanRef kCFBooleanFalse = reinterpret_cast<CFBooleanRef>(&falseObject.object);
const CFNullRef kCFNull = reinterpret_cast<CFNullRef>(&nullObject.object);
const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorNull = reinterpret_cast<CFAllocatorRef>(&nullAllocator.object);

const CFArrayCallBacks kCFTypeArrayCallBacks{};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{};
