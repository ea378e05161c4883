#pragma once

#include <chrono>
#include <optional>

#include "platform/linux/capture/CapturePacer.h"
#include "platform/linux/x11/X11Monitors.h"

namespace quorvin {

// Keeps track of where one display lies while modes, arrangements and cables change. A change of
// mode takes a display away for a moment, so it counts as gone only when it stays away. Used by
// the connection's thread; the connection must outlive it.
class X11DisplayTracker {
 public:
  static constexpr std::chrono::nanoseconds timeout = std::chrono::seconds(1);

  // Throws Error when there is no such display.
  X11DisplayTracker(X11Connection& connection, const X11Extensions& extensions, DisplayID display);

  void handle(const xcb_generic_event_t& event) { watch.handle(event); }
  // Takes notice of the changes so far; true when the area is another one. Throws Error once the
  // display is gone.
  [[nodiscard]] bool update(CaptureTime now);
  [[nodiscard]] bool isPresent() const { return !missingSince; }
  // Where the display lies, or lay when it was last there.
  [[nodiscard]] const PixelRect& area() const { return lastArea; }
  // When to update even without an event.
  [[nodiscard]] CaptureTime deadline() const;

 private:
  [[nodiscard]] std::optional<PixelRect> find();

  X11Connection& connection;
  const X11Extensions& extensions;
  DisplayID display;
  X11MonitorWatch watch;
  PixelRect lastArea;
  std::optional<CaptureTime> missingSince;
};

}  // namespace quorvin
