#pragma once

#include <stdint.h>

// The integer types of the C frameworks, by macOS's 64-bit sizes.
typedef uint8_t UInt8;
typedef int8_t SInt8;
typedef uint16_t UInt16;
typedef int16_t SInt16;
typedef unsigned int UInt32;
typedef signed int SInt32;
typedef int64_t SInt64;
typedef uint64_t UInt64;

typedef unsigned char Boolean;
typedef SInt32 OSStatus;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;
typedef UInt16 UniChar;
typedef unsigned long UniCharCount;

enum { noErr = 0 };
