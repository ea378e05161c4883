#import "tests/macos/frameworks/Foundation/Support.h"

#import <objc/message.h>

namespace {

objc::Object* object(id value) { return reinterpret_cast<objc::Object*>(value); }

}  // namespace

@implementation NSObject

+ (instancetype)alloc {
  return reinterpret_cast<id>(class_createInstance(reinterpret_cast<objc::Class*>(self), 0));
}

+ (instancetype)new {
  return [[self alloc] init];
}

- (instancetype)init {
  return self;
}

- (void)dealloc {
  object_dispose(object(self));
}

- (instancetype)retain {
  objc_retain(object(self));
  return self;
}

- (oneway void)release {
  objc_release(object(self));
}

- (instancetype)autorelease {
  objc_autorelease(object(self));
  return self;
}

- (id)copy {
  return [static_cast<id<NSCopying>>(self) copyWithZone:nil];
}

+ (Class)class {
  return self;
}

- (Class)class {
  return object_getClass(self);
}

- (instancetype)self {
  return self;
}

- (NSUInteger)hash {
  return reinterpret_cast<NSUInteger>(self);
}

- (BOOL)isEqual:(id)other {
  return self == other;
}

+ (BOOL)isSubclassOfClass:(Class)aClass {
  for (Class each = self; each != Nil; each = class_getSuperclass(each)) {
    if (each == aClass) return YES;
  }
  return NO;
}

- (BOOL)isKindOfClass:(Class)aClass {
  return [object_getClass(self) isSubclassOfClass:aClass];
}

+ (BOOL)instancesRespondToSelector:(SEL)selector {
  return class_respondsToSelector(self, selector);
}

- (BOOL)respondsToSelector:(SEL)selector {
  return class_respondsToSelector(object_getClass(self), selector);
}

- (id)performSelector:(SEL)selector withObject:(id)argument {
  return reinterpret_cast<id (*)(id, SEL, id)>(&objc_msgSend)(self, selector, argument);
}

- (void)doesNotRecognizeSelector:(SEL)selector {
  const bool isClass = class_isMetaClass(object_getClass(self));
  standin::raiseInvalidArgument(std::string(isClass ? "+[" : "-[") + object_getClassName(self) +
                                " " + sel_getName(selector) + "]: unrecognized selector sent to " +
                                (isClass ? "class" : "instance"));
}

- (Class)standInTypeClass {
  return object_getClass(self);
}

@end

NSString* NSStringFromClass(Class aClass) {
  return standin::stringOf(std::string_view(class_getName(aClass)));
}

Class NSClassFromString(NSString* className) {
  return objc_getClass(standin::utf8Of(className).c_str());
}
