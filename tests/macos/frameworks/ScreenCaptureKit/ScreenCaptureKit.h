#pragma once

#import <ScreenCaptureKit/SCError.h>
#import <ScreenCaptureKit/SCShareableContent.h>
#import <ScreenCaptureKit/SCStream.h>
