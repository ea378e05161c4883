#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/linux/capture/CapturePacer.h"
#include "platform/linux/capture/CaptureSettings.h"
#include "platform/linux/capture/FrameComposer.h"
#include "platform/linux/capture/X11CursorMonitor.h"
#include "platform/linux/capture/X11DamageMonitor.h"
#include "platform/linux/capture/X11DisplayFollower.h"
#include "platform/linux/x11/X11Server.h"

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
  enum class Outcome { nothing, idle, picture };

  Outcome outcome = Outcome::nothing;
  std::shared_ptr<CapturedPixelBuffer> picture;  // only of that outcome
  CaptureTime at;                                // when the step was taken
  CaptureTime wakeAt;                            // when the next one is due at the latest
  // Whether what the server says until then could bring it forward.
  bool hearsServer = true;
};

// One running capture over one connection of its own. The pictures are of the configured size; once
// the display has another size than that was made for, they are of what fits into it. It has no
// thread: whoever owns it calls `step` when the connection's descriptor becomes readable, unless
// the last step did not want to hear of it, when the wake-up is signalled and when the last step
// said so. Everything on one thread at a time; what goes wrong for good is thrown as Error.
class CaptureSession {
 public:
  CaptureSession(const CaptureTarget& target, const CaptureSettings& settings,
                 std::shared_ptr<EventFd> wakeup, std::shared_ptr<CaptureCounters> counters,
                 CaptureTime now);

  // The next picture comes even if the screen does not change.
  void configure(const CaptureSettings& newSettings);
  [[nodiscard]] CaptureStep step(CaptureTime now);
  [[nodiscard]] int descriptor() const { return connection.descriptor(); }

 private:
  void handleEvents();
  // As `handleEvents`; true if there was any.
  [[nodiscard]] bool drainEvents();
  void followDisplay(CaptureTime now);
  void applyDisplay();
  [[nodiscard]] bool hasNews(CaptureTime now) const;
  [[nodiscard]] CaptureTime repeatDueAt() const;
  [[nodiscard]] std::optional<std::chrono::nanoseconds> pollInterval() const;
  [[nodiscard]] std::shared_ptr<CapturedPixelBuffer> look(CaptureTime now);
  [[nodiscard]] std::shared_ptr<CapturedPixelBuffer> takePicture(CaptureTime now, bool isRepeat);
  [[nodiscard]] bool cursorChanged();
  void pictureFailed(CaptureTime now);

  X11Server server;
  X11Connection& connection = server.connection;
  const X11Extensions& extensions = server.extensions;
  const PixelSize configuredFor;
  std::shared_ptr<EventFd> wakeup;
  std::shared_ptr<CaptureCounters> counters;
  CaptureSettings settings;
  X11DisplayFollower display;
  X11Transport transport;
  std::unique_ptr<X11DamageMonitor> damage;  // null: compare pixels instead
  std::optional<X11CursorMonitor> pointer;   // empty: the cursor is not shown
  X11ScreenReader reader;
  FrameComposer composer;
  CapturePacer pacer;
  std::optional<CursorPlacer> placer;
  std::optional<CursorPlacement> cursor;  // as last drawn
  std::shared_ptr<PictureRepeat> repeat;  // of the newest picture; older ones are out of date
  bool pictureDue = true;
  std::optional<CaptureTime> unreadableSince;
};

}  // namespace quorvin
