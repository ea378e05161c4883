#pragma once

#include <objc/objc.h>

typedef long NSInteger;
typedef unsigned long NSUInteger;

#define NSIntegerMax INT64_MAX
#define NSIntegerMin INT64_MIN
#define NSUIntegerMax UINT64_MAX
