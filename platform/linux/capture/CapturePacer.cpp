#include "platform/linux/capture/CapturePacer.h"

#include <algorithm>

namespace quorvin {

void CapturePacer::setFrameInterval(std::chrono::nanoseconds interval) {
  frameInterval = interval;
  if (lastCaptureAt) notBefore = *lastCaptureAt + frameInterval;
}

CapturePacer::Decision CapturePacer::decide(CaptureTime now, bool changePending,
                                            bool canCapture) const {
  const CaptureTime lookAt = nextLookAt(changePending, canCapture);
  if (lookAt <= now) return {Action::look, now};
  const CaptureTime idleAt = lastSampleAt + idleInterval;
  if (idleAt <= now) return {Action::idle, now};
  return {Action::wait, std::min(lookAt, idleAt)};
}

void CapturePacer::captured(CaptureTime now) {
  lastCaptureAt = now;
  lastLookAt = now;
  lastSampleAt = now;
  notBefore = now + frameInterval;
}

void CapturePacer::lookedInVain(CaptureTime now) {
  lastLookAt = now;
  notBefore = now + vainLookInterval;
}

CaptureTime CapturePacer::nextLookAt(bool changePending, bool canCapture) const {
  if (!canCapture) return CaptureTime::max();
  if (changePending) return notBefore;
  if (pollInterval) return std::max(notBefore, lastLookAt + *pollInterval);
  return CaptureTime::max();
}

}  // namespace quorvin
