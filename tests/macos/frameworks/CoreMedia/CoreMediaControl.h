#pragma once

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>

namespace standin {

struct SampleBufferScript {
  bool isValid = true;
  id attachments = nil;  // what the attachments array is, which need not be an array
  id imageBuffer = nil;  // of makePixelBuffer
  CMTime presentationTimeStamp = kCMTimeZero;
};

// A new CMSampleBuffer. Cast with (__bridge CMSampleBufferRef).
id makeSampleBuffer(const SampleBufferScript& script);

}  // namespace standin
