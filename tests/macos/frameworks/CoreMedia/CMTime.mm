#import <CoreMedia/CMTime.h>

#include <string>

#include "tests/macos/standin/CallLog.h"

const CMTime kCMTimeInvalid = {0, 0, {}, 0};
const CMTime kCMTimeZero = {0, 1, kCMTimeFlags_Valid, 0};

CMTime CMTimeMake(int64_t value, int32_t timescale) {
  standin::record("CMTimeMake", {std::to_string(value), std::to_string(timescale)});
  if (timescale <= 0) {
    standin::violation("CMTimeMake with the time scale " + std::to_string(timescale));
  }
  return {value, timescale, kCMTimeFlags_Valid, 0};
}
