#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/linux/capture/CapturePacer.h"
#include "platform/linux/capture/CaptureSettings.h"
#include "platform/linux/capture/FrameComposer.h"
#include "platform/linux/capture/X11CursorMonitor.h"
#include "platform/linux/capture/X11DamageMonitor.h"
#include "platform/linux/capture/X11DisplayTracker.h"
#include "platform/linux/x11/X11Server.h"
#include "platform/unix/ThreadCheck.h"

namespace quorvin {

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
