#pragma once

#include <os/availability.h>

#define __MAC_OS_X_VERSION_MIN_REQUIRED 130000
