#pragma once

#include <stdint.h>

// A virtual key code.
typedef uint16_t CGKeyCode;
