#pragma once

#import <CoreFoundation/CoreFoundation.h>
#import <CoreMedia/CMTime.h>
#import <CoreVideo/CoreVideo.h>

typedef struct CF_BRIDGED_TYPE(id) opaqueCMSampleBuffer* CMSampleBufferRef;

extern "C" {

Boolean CMSampleBufferIsValid(CMSampleBufferRef _Nonnull sbuf);
CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef _Nonnull sbuf);
// Both belong to the sample buffer.
CVImageBufferRef _Nullable CMSampleBufferGetImageBuffer(CMSampleBufferRef _Nonnull sbuf);
CFArrayRef _Nullable CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef _Nonnull sbuf,
                                                             Boolean createIfNecessary);

}  // extern "C"
