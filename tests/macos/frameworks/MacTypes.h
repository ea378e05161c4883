#pragma once

#include <stdint.h>

// The integer types of the C frameworks, by macOS's 64-bit sizes.
typedef uint8_t UInt8;
typedef uint16_t UInt16;
typedef unsigned int UInt32;
typedef signed int SInt32;
typedef int64_t SInt64;

typedef unsigned char Boolean;
typedef SInt32 OSStatus;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;

enum { noErr = 0 };
