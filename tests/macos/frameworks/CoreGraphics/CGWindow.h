#pragma once

// Whether this program may record the screen; the second asks the user when that is still open.
extern "C" {

bool CGPreflightScreenCaptureAccess(void);
bool CGRequestScreenCaptureAccess(void);

}  // extern "C"
