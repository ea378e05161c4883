#pragma once

#import <Foundation/Foundation.h>

extern "C" NSString* _Nonnull const SCStreamErrorDomain;

typedef NS_ERROR_ENUM(SCStreamErrorDomain, SCStreamErrorCode){
    SCStreamErrorUserDeclined = -3801,
    SCStreamErrorFailedToStart = -3802,
    SCStreamErrorAttemptToStartStreamState = -3807,
    SCStreamErrorAttemptToStopStreamState = -3808,
    SCStreamErrorAttemptToConfigState = -3810,
    SCStreamErrorInvalidParameter = -3812,
    SCStreamErrorUserStopped = -3817,
    SCStreamErrorSystemStoppedStream = -3821,
};
