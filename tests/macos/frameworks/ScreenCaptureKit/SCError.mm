#import <ScreenCaptureKit/SCError.h>

NSString* const SCStreamErrorDomain = @"com.apple.ScreenCaptureKit.SCStreamErrorDomain";
