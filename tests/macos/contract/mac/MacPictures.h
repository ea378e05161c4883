#pragma once

#import <CoreVideo/CoreVideo.h>

#include <memory>

#include "platform/ScreenCapture.h"
#include "tests/contract/DecodedPicture.h"

namespace quorvin::contract {

// A picture as a screen capture delivers it.
std::shared_ptr<PixelBuffer> makeMacPicture(const PictureSize& size, const ColourAt& colourAt);
// One that comes from somewhere else.
std::shared_ptr<PixelBuffer> makeForeignPicture(const PictureSize& size);
// What a picture of 32BGRA pixels shows.
DecodedPicture readPicture(CVPixelBufferRef picture);

}  // namespace quorvin::contract
