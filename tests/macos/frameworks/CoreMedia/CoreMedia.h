#pragma once

#import <CoreMedia/CMBlockBuffer.h>
#import <CoreMedia/CMFormatDescription.h>
#import <CoreMedia/CMSampleBuffer.h>
#import <CoreMedia/CMTime.h>
