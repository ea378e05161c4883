#pragma once

#include <chrono>
#include <optional>

namespace quorvin {

using CaptureClock = std::chrono::steady_clock;
using CaptureTime = CaptureClock::time_point;

// Decides when a stream polls the screen. The frame interval is a ceiling, not a beat: a change
// after a quiet time is polled at once, and only changes that follow each other faster wait. While
// nothing is captured, an idle sample shows once a second that the stream is alive; it has no frame
// and does not count against the ceiling. Holds no clock: time is an argument.
class CapturePacer {
 public:
  enum class Action { poll, idle, wait };

  struct Decision {
    Action action = Action::wait;
    CaptureTime wakeAt;  // when to ask again at the latest, if the action is to wait
  };

  static constexpr std::chrono::nanoseconds idleInterval = std::chrono::seconds(1);
  // A poll that found no damage (the change was on another display) delays the next one only by
  // this much, which bounds what somebody else's animation can cost.
  static constexpr std::chrono::nanoseconds emptyPollInterval = std::chrono::milliseconds(5);

  CapturePacer(CaptureTime now, std::chrono::nanoseconds frameInterval)
      : frameInterval(frameInterval), lastPollAt(now), lastSampleAt(now), notBefore(now) {}

  void setFrameInterval(std::chrono::nanoseconds interval);
  // Makes it poll this often even if no change is known; for what the server does not report.
  void setPollInterval(std::optional<std::chrono::nanoseconds> interval) {
    pollInterval = interval;
  }

  [[nodiscard]] Decision decide(CaptureTime now, bool changePending, bool canCapture) const;

  // What became of the last decision.
  void captured(CaptureTime now);
  void foundNothing(CaptureTime now);
  void idled(CaptureTime now) { lastSampleAt = now; }

 private:
  [[nodiscard]] CaptureTime nextPollAt(bool changePending, bool canCapture) const;

  std::chrono::nanoseconds frameInterval;
  std::optional<std::chrono::nanoseconds> pollInterval;
  std::optional<CaptureTime> lastCaptureAt;
  CaptureTime lastPollAt;
  CaptureTime lastSampleAt;
  CaptureTime notBefore;
};

}  // namespace quorvin
