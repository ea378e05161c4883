#pragma once

#import <CoreFoundation/CoreFoundation.h>
#import <CoreMedia/CMBlockBuffer.h>
#import <CoreMedia/CMFormatDescription.h>
#import <CoreMedia/CMTime.h>
#import <CoreVideo/CoreVideo.h>

typedef struct CF_BRIDGED_TYPE(id) opaqueCMSampleBuffer* CMSampleBufferRef;

extern "C" {

Boolean CMSampleBufferIsValid(CMSampleBufferRef _Nonnull sbuf);
CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef _Nonnull sbuf);
// All of these belong to the sample buffer.
CMBlockBufferRef _Nullable CMSampleBufferGetDataBuffer(CMSampleBufferRef _Nonnull sbuf);
CMFormatDescriptionRef _Nullable CMSampleBufferGetFormatDescription(
    CMSampleBufferRef _Nonnull sbuf);
CVImageBufferRef _Nullable CMSampleBufferGetImageBuffer(CMSampleBufferRef _Nonnull sbuf);
CFArrayRef _Nullable CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef _Nonnull sbuf,
                                                             Boolean createIfNecessary);

// For what only runs on a Mac; the stand-ins have none of it.
OSStatus CMSampleBufferCreateReady(
    CFAllocatorRef _Nullable allocator, CMBlockBufferRef _Nullable dataBuffer,
    CMFormatDescriptionRef _Nullable formatDescription, CFIndex numSamples,
    CFIndex numSampleTimingEntries, const void* _Nullable sampleTimingArray,
    CFIndex numSampleSizeEntries, const size_t* _Nullable sampleSizeArray,
    CF_RETURNS_RETAINED CMSampleBufferRef _Nullable* _Nonnull sampleBufferOut);

// CFBoolean, in the attachments of a sample: true unless decoding can begin with it.
extern const CFStringRef _Nonnull kCMSampleAttachmentKey_NotSync;

}  // extern "C"
