#pragma once

#import <CoreMedia/CMSampleBuffer.h>
#import <CoreMedia/CMTime.h>
