#include "platform/linux/capture/X11DisplayTracker.h"

#include <algorithm>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

namespace {

Error displayGone() {
  return x11Error(X11ErrorCode::displayGone,
                  "The display that was being captured is no longer connected.");
}

}  // namespace

X11DisplayTracker::X11DisplayTracker(X11Connection& connection, const X11Extensions& extensions,
                                     DisplayID display)
    : connection(connection),
      extensions(extensions),
      display(display),
      watch(connection, extensions) {
  const auto found = find();
  if (!found) throw displayGone();
  lastArea = *found;
}

bool X11DisplayTracker::update(CaptureTime now) {
  if (!watch.takeChange() && now < deadline()) return false;
  const auto found = find();
  if (!found) {
    if (!missingSince) missingSince = now;
    if (now >= deadline()) throw displayGone();
    return false;
  }
  // After an absence the pixels are others even at the same place.
  const bool differs = missingSince.has_value() || *found != lastArea;
  missingSince.reset();
  lastArea = *found;
  return differs;
}

CaptureTime X11DisplayTracker::deadline() const {
  return missingSince ? *missingSince + timeout : CaptureTime::max();
}

std::optional<PixelRect> X11DisplayTracker::find() {
  const auto monitors = listMonitors(connection, extensions);
  const auto monitor = std::ranges::find(monitors, display, &X11Monitor::id);
  if (monitor == monitors.end()) return {};
  return monitor->area;
}

}  // namespace quorvin
