#include "platform/linux/input/DisplayLayout.h"

#include <algorithm>

#include "platform/Error.h"

namespace quorvin {

DisplayLayout::DisplayLayout(X11Connection& connection, const X11Extensions& extensions)
    : connection(connection), extensions(extensions), watch(connection, extensions) {
  read();
}

void DisplayLayout::update() {
  if (watch.takeChange()) read();
}

std::optional<Rect> DisplayLayout::boundsOf(DisplayID display) const {
  const auto found = std::ranges::find(monitors, display, &X11Monitor::id);
  if (found == monitors.end()) return {};
  const PixelRect& area = found->area;
  return Rect{{static_cast<double>(area.x), static_cast<double>(area.y)},
              {static_cast<double>(area.width), static_cast<double>(area.height)}};
}

void DisplayLayout::read() {
  try {
    monitors = listMonitors(connection, extensions);
  } catch (const Error&) {
    monitors.clear();  // the connection broke
  }
}

}  // namespace quorvin
