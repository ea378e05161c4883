#pragma once

#include <objc/objc.h>

#pragma clang assume_nonnull begin

typedef enum objc_AssociationPolicy : uintptr_t {
  OBJC_ASSOCIATION_ASSIGN = 0,
  OBJC_ASSOCIATION_RETAIN_NONATOMIC = 1,
  OBJC_ASSOCIATION_COPY_NONATOMIC = 3,
  OBJC_ASSOCIATION_RETAIN = 01401,
  OBJC_ASSOCIATION_COPY = 01403,
} objc_AssociationPolicy;

OBJC_EXPORT void objc_setAssociatedObject(id object, const void* key, id _Nullable value,
                                          objc_AssociationPolicy policy);
OBJC_EXPORT id _Nullable objc_getAssociatedObject(id object, const void* key);

OBJC_EXPORT const char* object_getClassName(id _Nullable object);
OBJC_EXPORT Class _Nullable object_getClass(id _Nullable object);
OBJC_EXPORT Class _Nullable objc_getClass(const char* name);
OBJC_EXPORT const char* class_getName(Class _Nullable aClass);
OBJC_EXPORT Class _Nullable class_getSuperclass(Class _Nullable aClass);
OBJC_EXPORT size_t class_getInstanceSize(Class _Nullable aClass);
OBJC_EXPORT BOOL class_respondsToSelector(Class _Nullable aClass, SEL selector);
OBJC_EXPORT BOOL class_conformsToProtocol(Class _Nullable aClass, Protocol* _Nullable protocol);
OBJC_EXPORT BOOL class_isMetaClass(Class _Nullable aClass);
OBJC_EXPORT BOOL sel_isEqual(SEL left, SEL right);

#pragma clang assume_nonnull end
