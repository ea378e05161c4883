#pragma once

#include <optional>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Server.h"

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

}  // namespace quorvin
