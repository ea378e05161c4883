#pragma once

#include <stdint.h>

typedef uint32_t CGDirectDisplayID;
