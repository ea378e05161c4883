#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/ScreenCapture.h"
#include "platform/linux/capture/FrameComposer.h"
#include "platform/linux/capture/ScreenCapture.h"
#include "platform/linux/capture/ScreenChanges.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Monitors.h"
#include "platform/unix/ThreadCheck.h"

namespace quorvin {

// A stream configuration that has been found sound.
struct CaptureSettings {
  PixelSize frameSize;
  std::chrono::nanoseconds frameInterval{};
  std::size_t queueDepth = 0;
  bool showsCursor = false;
};

// The size of the largest frame of a display of that size, with its proportions and no larger
// than itself, that the box holds.
[[nodiscard]] PixelSize fittedInto(PixelSize box, PixelSize display);

// Throws Error naming what is wrong. A frame interval of zero asks for the display's own rate.
[[nodiscard]] CaptureSettings checkedSettings(const StreamConfiguration& configuration);

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

// Which display of which X server to capture.
struct CaptureTarget {
  std::string server;  // as in DISPLAY, which counts when this is empty
  DisplayID display = 0;
  PixelSize displaySize;                       // that the configurations of the stream are made for
  std::shared_ptr<X11SpareServer> spare = {};  // a connection to that server, or null
};

// What came of one step of a session.
struct CaptureStep {
  enum class Outcome { nothing, idle, frame };

  Outcome outcome = Outcome::nothing;
  std::shared_ptr<CapturedFrame> frame;  // only of that outcome
  CaptureTime at;                        // when the step was taken
  CaptureTime wakeAt;                    // when the next one is due at the latest
  // Whether what the server says until then could bring it forward.
  bool hearsServer = true;
};

// One running capture over one connection of its own. Frames have the configured size, or the
// largest that fits into it once the display has another size than the configuration was made for.
//
// The session has no thread. Its owner calls `step` when the last step's `wakeAt` has come, when
// the wake-up is signalled, and when the connection's descriptor is readable if the last step
// `hearsServer`. One thread at a time; an error that ends the capture is thrown as Error.
class CaptureSession {
 public:
  CaptureSession(const CaptureTarget& target, const CaptureSettings& settings,
                 std::shared_ptr<EventFd> wakeup, std::shared_ptr<CaptureCounters> counters,
                 CaptureTime now);

  // The next frame comes even if the screen does not change.
  void configure(const CaptureSettings& newSettings);
  [[nodiscard]] CaptureStep step(CaptureTime now);
  [[nodiscard]] int descriptor() const { return connection.descriptor(); }

 private:
  void handleEvents();
  // As `handleEvents`; true if there was any.
  [[nodiscard]] bool drainEvents();
  void trackDisplay(CaptureTime now);
  void applyDisplay();
  [[nodiscard]] bool hasNews(CaptureTime now) const;
  [[nodiscard]] CaptureTime refreshDueAt() const;
  [[nodiscard]] std::optional<std::chrono::nanoseconds> pollInterval() const;
  [[nodiscard]] std::shared_ptr<CapturedFrame> poll(CaptureTime now);
  [[nodiscard]] std::shared_ptr<CapturedFrame> takeFrame(CaptureTime now, bool isRefresh);
  [[nodiscard]] bool cursorChanged();
  void frameFailed(CaptureTime now);

  ThreadCheck thread;  // from the first step on
  X11Server server;
  X11Connection& connection = server.connection;
  const X11Extensions& extensions = server.extensions;
  const PixelSize configuredFor;
  std::shared_ptr<EventFd> wakeup;
  std::shared_ptr<CaptureCounters> counters;
  CaptureSettings settings;
  X11DisplayTracker display;
  X11Transport transport;
  std::unique_ptr<X11DamageMonitor> damage;  // null: compare pixels instead
  std::optional<X11CursorMonitor> pointer;   // empty: the cursor is not shown
  X11ScreenReader reader;
  FrameComposer composer;
  CapturePacer pacer;
  std::optional<CursorPlacer> placer;
  std::optional<CursorPlacement> cursor;    // as last drawn
  std::shared_ptr<RefreshRequest> refresh;  // of the newest frame; older requests have lapsed
  bool frameDue = true;
  std::optional<CaptureTime> unreadableSince;
};

}  // namespace quorvin
