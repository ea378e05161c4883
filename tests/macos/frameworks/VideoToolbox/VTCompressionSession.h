#pragma once

#import <CoreMedia/CoreMedia.h>
#import <CoreVideo/CoreVideo.h>
#import <VideoToolbox/VTErrors.h>

typedef struct CF_BRIDGED_TYPE(id) OpaqueVTCompressionSession* VTCompressionSessionRef;

// Comes in the order of the frames, on a thread of the encoder's. Without a sample buffer when the
// frame failed or was dropped.
typedef void (*VTCompressionOutputCallback)(void* _Nullable outputCallbackRefCon,
                                            void* _Nullable sourceFrameRefCon, OSStatus status,
                                            VTEncodeInfoFlags infoFlags,
                                            CMSampleBufferRef _Nullable sampleBuffer);

CF_EXTERN_C_BEGIN

// The caller owns the session.
OSStatus VTCompressionSessionCreate(
    CFAllocatorRef _Nullable allocator, int32_t width, int32_t height, CMVideoCodecType codecType,
    CFDictionaryRef _Nullable encoderSpecification,
    CFDictionaryRef _Nullable sourceImageBufferAttributes,
    CFAllocatorRef _Nullable compressedDataAllocator,
    VTCompressionOutputCallback _Nullable outputCallback, void* _Nullable outputCallbackRefCon,
    CF_RETURNS_RETAINED VTCompressionSessionRef _Nullable* _Nonnull compressionSessionOut);

CF_IMPLICIT_BRIDGING_ENABLED

// Frames that are still in the encoder are lost. No output comes after this.
void VTCompressionSessionInvalidate(VTCompressionSessionRef _Nonnull session);
OSStatus VTCompressionSessionPrepareToEncodeFrames(VTCompressionSessionRef _Nonnull session);
// The time stamps of one session must grow.
OSStatus VTCompressionSessionEncodeFrame(VTCompressionSessionRef _Nonnull session,
                                         CVImageBufferRef _Nonnull imageBuffer,
                                         CMTime presentationTimeStamp, CMTime duration,
                                         CFDictionaryRef _Nullable frameProperties,
                                         void* _Nullable sourceFrameRefcon,
                                         VTEncodeInfoFlags* _Nullable infoFlagsOut);
// Waits until the frames up to that time have come out: all of them for a time that is no number.
OSStatus VTCompressionSessionCompleteFrames(VTCompressionSessionRef _Nonnull session,
                                            CMTime completeUntilPresentationTimeStamp);

// For what only runs on a Mac; the stand-ins have none of it.
typedef struct CF_BRIDGED_TYPE(id) OpaqueVTDecompressionSession* VTDecompressionSessionRef;
typedef uint32_t VTDecodeInfoFlags;
typedef struct {
  void (*_Nullable decompressionOutputCallback)(void* _Nullable decompressionOutputRefCon,
                                                void* _Nullable sourceFrameRefCon, OSStatus status,
                                                VTDecodeInfoFlags infoFlags,
                                                CVImageBufferRef _Nullable imageBuffer,
                                                CMTime presentationTimeStamp,
                                                CMTime presentationDuration);
  void* _Nullable decompressionOutputRefCon;
} VTDecompressionOutputCallbackRecord;
OSStatus VTDecompressionSessionCreate(
    CFAllocatorRef _Nullable allocator, CMVideoFormatDescriptionRef _Nonnull format,
    CFDictionaryRef _Nullable decoderSpecification, CFDictionaryRef _Nullable attributes,
    const VTDecompressionOutputCallbackRecord* _Nullable outputCallback,
    CF_RETURNS_RETAINED VTDecompressionSessionRef _Nullable* _Nonnull decompressionSessionOut);
OSStatus VTDecompressionSessionDecodeFrame(VTDecompressionSessionRef _Nonnull session,
                                           CMSampleBufferRef _Nonnull sampleBuffer,
                                           uint32_t decodeFlags, void* _Nullable sourceFrameRefCon,
                                           VTDecodeInfoFlags* _Nullable infoFlagsOut);
OSStatus VTDecompressionSessionWaitForAsynchronousFrames(
    VTDecompressionSessionRef _Nonnull session);
void VTDecompressionSessionInvalidate(VTDecompressionSessionRef _Nonnull session);

CF_IMPLICIT_BRIDGING_DISABLED
CF_EXTERN_C_END
