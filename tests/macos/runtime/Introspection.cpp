#include "tests/macos/runtime/Classes.h"

// What <objc/runtime.h> tells about classes and selectors, and the shortcuts that the compiler
// calls in place of common messages.

extern "C" {

const char* sel_getName(objc::Selector selector) {
  return selector;
}

const char* class_getName(const objc::Class* aClass) {
  return aClass == nullptr ? "nil" : objc::nameOf(aClass);
}

objc::Class* class_getSuperclass(const objc::Class* aClass) {
  return aClass == nullptr ? nullptr : aClass->superclass;
}

bool class_isMetaClass(const objc::Class* aClass) {
  return aClass != nullptr && aClass->isMeta();
}

bool class_respondsToSelector(const objc::Class* aClass, objc::Selector selector) {
  return aClass != nullptr && objc::findMethod(aClass, selector) != nullptr;
}

objc::Class* objc_getClass(const char* name) {
  return objc::findClass(name);
}

objc::Class* object_getClass(const objc::Object* object) {
  return object == nullptr ? nullptr : object->isa;
}

const char* object_getClassName(const objc::Object* object) {
  return class_getName(object_getClass(object));
}

objc::Object* objc_opt_self(objc::Object* object) {
  return object;
}

objc::Class* objc_opt_class(objc::Object* object) {
  if (object == nullptr) return nullptr;
  return object->isa->isMeta() ? reinterpret_cast<objc::Class*>(object) : object->isa;
}

bool objc_opt_isKindOfClass(const objc::Object* object, const objc::Class* aClass) {
  return object != nullptr && aClass != nullptr && objc::inherits(object->isa, aClass);
}

bool objc_opt_respondsToSelector(const objc::Object* object, objc::Selector selector) {
  return object != nullptr && objc::findMethod(object->isa, selector) != nullptr;
}

// Called by a for-in loop that finds its collection changed.
[[noreturn]] void objc_enumerationMutation(const objc::Object* collection) {
  objc::fatal("mutated while being enumerated", object_getClassName(collection));
}

}  // extern "C"
