#pragma once

#import <CoreVideo/CoreVideo.h>

#include <memory>

#include "platform/ScreenCapture.h"
#include "tests/contract/DecodedFrame.h"

namespace quorvin::contract {

// A frame as a screen capture delivers it.
std::shared_ptr<PixelBuffer> makeMacFrame(const FrameSize& size, const ColourAt& colourAt);
// One that comes from somewhere else.
std::shared_ptr<PixelBuffer> makeForeignFrame(const FrameSize& size);
// What a frame of 32BGRA pixels shows.
DecodedFrame readFrame(CVPixelBufferRef frame);

}  // namespace quorvin::contract
