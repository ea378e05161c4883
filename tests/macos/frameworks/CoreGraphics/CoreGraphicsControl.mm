#import <CoreGraphics/CoreGraphicsControl.h>

#import <CoreGraphics/CGDisplayControl.h>
#import <CoreGraphics/CGEventScript.h>

namespace standin {

void resetCoreGraphics() {
  setScreenCapturePreflight(false);
  setScreenCaptureRequest(false);
  setDisplays({});
  resetEvents();
}

}  // namespace standin
