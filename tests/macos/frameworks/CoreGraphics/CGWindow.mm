#import <CoreGraphics/CGWindow.h>
#import <CoreGraphics/CoreGraphicsControl.h>

#include <atomic>

#include "tests/macos/standin/CallLog.h"

namespace {

std::atomic<bool> preflightAnswer = false;
std::atomic<bool> requestAnswer = false;

}  // namespace

bool CGPreflightScreenCaptureAccess(void) {
  standin::record("CGPreflightScreenCaptureAccess");
  return preflightAnswer;
}

bool CGRequestScreenCaptureAccess(void) {
  standin::record("CGRequestScreenCaptureAccess");
  return requestAnswer;
}

namespace standin {

void setScreenCapturePreflight(bool isGranted) { preflightAnswer = isGranted; }

void setScreenCaptureRequest(bool isGranted) { requestAnswer = isGranted; }

}  // namespace standin
