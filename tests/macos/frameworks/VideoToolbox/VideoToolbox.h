#pragma once

#import <CoreMedia/CoreMedia.h>
#import <VideoToolbox/VTCompressionProperties.h>
#import <VideoToolbox/VTCompressionSession.h>
#import <VideoToolbox/VTErrors.h>
#import <VideoToolbox/VTSession.h>
