#pragma once

#include <optional>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/capture/X11Monitors.h"

namespace quorvin {

// Where the displays lie. The server is asked once and again whenever it has said that something
// changed, and not at every question: two questions come with every move of a pointer, and looking
// for what the server has sent costs a hundredth of asking it. The answer is no older for that: the
// server sends the news before it carries out anything that is posted later.
//
// Used by the connection's thread; the connection must outlive it.
class DisplayLayout {
 public:
  DisplayLayout(X11Connection& connection, const X11Extensions& extensions);

  void handle(const xcb_generic_event_t& event) { watch.handle(event); }
  // Takes notice of the changes that were handled.
  void update();
  // In the coordinates of the root window, which are the global space. Empty when there is no such
  // display.
  [[nodiscard]] std::optional<Rect> boundsOf(DisplayID display) const;

 private:
  void read();

  X11Connection& connection;
  X11Extensions extensions;
  X11MonitorWatch watch;
  std::vector<X11Monitor> monitors;
};

}  // namespace quorvin
