#pragma once

#include <objc/objc.h>

typedef long NSInteger;
typedef unsigned long NSUInteger;

#define NSIntegerMin INT64_MIN
#define NSUIntegerMax UINT64_MAX
