#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// One monitor of a screen. The identifier is that of its first output, which a monitor keeps
// while its mode or place changes, or else the atom of its name.
struct X11Monitor {
  DisplayID id = 0;
  PixelRect area;  // on the root window, never beyond it
  bool isPrimary = false;
};

// The monitors in the server's order; on a server that knows none, the root window as the only
// one. Throws Error when the connection broke.
[[nodiscard]] std::vector<X11Monitor> listMonitors(X11Connection& connection,
                                                   const X11Extensions& extensions);

// Notices that the monitors may have changed. Used by the connection's thread.
class X11MonitorWatch {
 public:
  X11MonitorWatch(X11Connection& connection, const X11Extensions& extensions);

  void handle(const xcb_generic_event_t& event);
  // True once after each change.
  [[nodiscard]] bool takeChange();

 private:
  xcb_window_t root;
  std::optional<X11Extensions::Events> randr;
  bool changed = false;
};

// Keeps track of where one display lies while modes, arrangements and cables change. A change of
// mode takes a display away for a moment, so it counts as gone only when it stays away. Used by
// the connection's thread; the connection must outlive it.
class X11DisplayTracker {
 public:
  using Time = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::nanoseconds timeout = std::chrono::seconds(1);

  // Throws Error when there is no such display.
  X11DisplayTracker(X11Connection& connection, const X11Extensions& extensions, DisplayID display);

  void handle(const xcb_generic_event_t& event) { watch.handle(event); }
  // Takes notice of the changes so far; true when the area is another one. Throws Error once the
  // display is gone.
  [[nodiscard]] bool update(Time now);
  [[nodiscard]] bool isPresent() const { return !missingSince; }
  // Where the display lies, or lay when it was last there.
  [[nodiscard]] const PixelRect& area() const { return lastArea; }
  // When to update even without an event.
  [[nodiscard]] Time deadline() const;

 private:
  [[nodiscard]] std::optional<PixelRect> find();

  X11Connection& connection;
  const X11Extensions& extensions;
  DisplayID display;
  X11MonitorWatch watch;
  PixelRect lastArea;
  std::optional<Time> missingSince;
};

}  // namespace quorvin
