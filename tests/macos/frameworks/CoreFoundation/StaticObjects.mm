#import "tests/macos/frameworks/Foundation/Support.h"

// Objects that are there before any code runs, and for ever.

extern "C" {
extern objc::Class booleanClass asm("OBJC_CLASS_$___NSCFBoolean");
}

namespace {

struct StaticObject {
  objc::Header header{objc::Header::immortal, objc::Header::alive};
  objc::Object object;

  explicit constexpr StaticObject(objc::Class* aClass) : object{aClass} {}
};

constinit StaticObject trueObject(&booleanClass);
constinit StaticObject falseObject(&booleanClass);

}  // namespace

const CFBooleanRef kCFBooleanTrue = reinterpret_cast<CFBooleanRef>(&trueObject.object);
const CFBooleanRef kCFBooleanFalse = reinterpret_cast<CFBooleanRef>(&falseObject.object);
const CFAllocatorRef kCFAllocatorDefault = nullptr;
