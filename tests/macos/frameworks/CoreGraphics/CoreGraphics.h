#pragma once

#import <CoreGraphics/CGDirectDisplay.h>
#import <CoreGraphics/CGGeometry.h>
#import <CoreGraphics/CGImage.h>
#import <CoreGraphics/CGWindow.h>
