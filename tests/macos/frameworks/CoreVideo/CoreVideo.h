#pragma once

#import <CoreVideo/CVPixelBuffer.h>
