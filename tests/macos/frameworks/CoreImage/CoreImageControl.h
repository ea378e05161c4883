#pragma once

namespace standin {

// Lets the step fail, as it does when memory is short, until the reset.
void failImageCreation();   // -[CIImage initWithCVPixelBuffer:]
void failImageRendering();  // -[CIContext createCGImage:fromRect:]

void resetCoreImage();

}  // namespace standin
