#pragma once

#import <CoreImage/CIContext.h>
#import <CoreImage/CIImage.h>
