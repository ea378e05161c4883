#pragma once

#include <vector>

#include "platform/linux/capture/X11Monitors.h"

namespace quorvin {

// Where the displays lie. The server is asked once and again whenever it has said that something
// changed.
//
// Used by the connection's thread; the connection must outlive it.
class DisplayLayout {
 public:
  DisplayLayout(X11Connection& connection, const X11Extensions& extensions);

  void handle(const xcb_generic_event_t& event) { watch.handle(event); }
  // Takes notice of the changes that were handled; false when there were none.
  [[nodiscard]] bool update();
  [[nodiscard]] const std::vector<X11Monitor>& displays() const { return monitors; }

 private:
  void read();

  X11Connection& connection;
  X11Extensions extensions;
  X11MonitorWatch watch;
  std::vector<X11Monitor> monitors;
};

}  // namespace quorvin
