#include "platform/linux/capture/CapturePacer.h"

#include <algorithm>

namespace quorvin {

void CapturePacer::setFrameInterval(std::chrono::nanoseconds interval) {
  frameInterval = interval;
  if (lastCaptureAt) notBefore = *lastCaptureAt + frameInterval;
}

CapturePacer::Decision CapturePacer::decide(CaptureTime now, bool changePending,
                                            bool canCapture) const {
  const CaptureTime pollAt = nextPollAt(changePending, canCapture);
  if (pollAt <= now) return {Action::poll, now};
  const CaptureTime idleAt = lastSampleAt + idleInterval;
  if (idleAt <= now) return {Action::idle, now};
  return {Action::wait, std::min(pollAt, idleAt)};
}

void CapturePacer::captured(CaptureTime now) {
  lastCaptureAt = now;
  lastPollAt = now;
  lastSampleAt = now;
  notBefore = now + frameInterval;
}

void CapturePacer::foundNothing(CaptureTime now) {
  lastPollAt = now;
  notBefore = now + emptyPollInterval;
}

CaptureTime CapturePacer::nextPollAt(bool changePending, bool canCapture) const {
  if (!canCapture) return CaptureTime::max();
  if (changePending) return notBefore;
  if (pollInterval) return std::max(notBefore, lastPollAt + *pollInterval);
  return CaptureTime::max();
}

}  // namespace quorvin
