#import <CoreImage/CoreImageControl.h>
#import <CoreImage/CoreImageState.h>

namespace standin {

CoreImageState& coreImageState() {
  static CoreImageState state;
  return state;
}

void failImageCreation() { coreImageState().failsToCreate = true; }

void failImageRendering() { coreImageState().failsToRender = true; }

void resetCoreImage() {
  coreImageState().failsToCreate = false;
  coreImageState().failsToRender = false;
}

}  // namespace standin
