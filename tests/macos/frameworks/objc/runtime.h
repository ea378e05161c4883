#pragma once

#include <objc/objc.h>

#pragma clang assume_nonnull begin

OBJC_EXPORT const char* object_getClassName(id _Nullable object);
OBJC_EXPORT Class _Nullable object_getClass(id _Nullable object);
OBJC_EXPORT Class _Nullable objc_getClass(const char* name);
OBJC_EXPORT const char* class_getName(Class _Nullable aClass);
OBJC_EXPORT Class _Nullable class_getSuperclass(Class _Nullable aClass);
OBJC_EXPORT BOOL class_respondsToSelector(Class _Nullable aClass, SEL selector);
OBJC_EXPORT BOOL class_isMetaClass(Class _Nullable aClass);

#pragma clang assume_nonnull end
