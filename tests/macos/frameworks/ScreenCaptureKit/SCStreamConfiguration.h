#pragma once

#import <ScreenCaptureKit/ScreenCaptureKitControl.h>

@interface SCStreamConfiguration (StandIn)
- (standin::StreamSettings)settings;
@end
