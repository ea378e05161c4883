#pragma once

namespace standin {

// What the two questions about screen recording answer; both false after a reset. On a Mac a
// request does not change what the preflight says until the program starts again, and neither does
// it here.
void setScreenCapturePreflight(bool isGranted);
void setScreenCaptureRequest(bool isGranted);

// No permission, no display, no event posted and no failure to come. What is done with displays and
// events is in controls of their own.
void resetCoreGraphics();

}  // namespace standin
