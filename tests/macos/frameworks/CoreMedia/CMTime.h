#pragma once

#import <CoreFoundation/CoreFoundation.h>
#include <stdint.h>

#pragma pack(push, 4)

typedef int64_t CMTimeValue;
typedef int32_t CMTimeScale;
typedef int64_t CMTimeEpoch;

typedef CF_OPTIONS(uint32_t, CMTimeFlags) {
  kCMTimeFlags_Valid = 1UL << 0,
  kCMTimeFlags_HasBeenRounded = 1UL << 1,
  kCMTimeFlags_PositiveInfinity = 1UL << 2,
  kCMTimeFlags_NegativeInfinity = 1UL << 3,
  kCMTimeFlags_Indefinite = 1UL << 4,
  kCMTimeFlags_ImpliedValueFlagsMask = kCMTimeFlags_PositiveInfinity |
                                       kCMTimeFlags_NegativeInfinity | kCMTimeFlags_Indefinite,
};

typedef struct {
  CMTimeValue value;
  CMTimeScale timescale;
  CMTimeFlags flags;
  CMTimeEpoch epoch;
} CMTime;

#pragma pack(pop)

#define CMTIME_IS_VALID(time) ((Boolean)(((time).flags & kCMTimeFlags_Valid) != 0))
#define CMTIME_IS_INVALID(time) (!CMTIME_IS_VALID(time))

extern "C" {

extern const CMTime kCMTimeInvalid;
extern const CMTime kCMTimeZero;

CMTime CMTimeMake(int64_t value, int32_t timescale);

}  // extern "C"
