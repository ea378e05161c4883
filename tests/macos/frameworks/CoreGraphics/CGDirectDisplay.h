#pragma once

#include <mach/boolean.h>
#include <stdint.h>

#import <CoreGraphics/CGGeometry.h>

typedef uint32_t CGDirectDisplayID;

extern "C" {

// In the global coordinate space; empty, at its origin, for a display that does not exist.
CGRect CGDisplayBounds(CGDirectDisplayID display);
// Whether it can be drawn on now.
boolean_t CGDisplayIsActive(CGDirectDisplayID display);

}  // extern "C"
