#import <VideoToolbox/VTCompressionProperties.h>

const CFStringRef kVTCompressionPropertyKey_RealTime = CFSTR("RealTime");
const CFStringRef kVTCompressionPropertyKey_AllowFrameReordering = CFSTR("AllowFrameReordering");
const CFStringRef kVTCompressionPropertyKey_AllowTemporalCompression =
    CFSTR("AllowTemporalCompression");
const CFStringRef kVTCompressionPropertyKey_ProfileLevel = CFSTR("ProfileLevel");
const CFStringRef kVTCompressionPropertyKey_ExpectedFrameRate = CFSTR("ExpectedFrameRate");
const CFStringRef kVTCompressionPropertyKey_AverageBitRate = CFSTR("AverageBitRate");
const CFStringRef kVTCompressionPropertyKey_MaxKeyFrameInterval = CFSTR("MaxKeyFrameInterval");
const CFStringRef kVTProfileLevel_H264_Main_AutoLevel = CFSTR("H264_Main_AutoLevel");
const CFStringRef kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder =
    CFSTR("EnableHardwareAcceleratedVideoEncoder");
