#include "platform/linux/input/DisplayLayout.h"

#include "platform/Error.h"

namespace quorvin {

DisplayLayout::DisplayLayout(X11Connection& connection, const X11Extensions& extensions)
    : connection(connection), extensions(extensions), watch(connection, extensions) {
  read();
}

bool DisplayLayout::update() {
  if (!watch.takeChange()) return false;
  read();
  return true;
}

void DisplayLayout::read() {
  try {
    monitors = listMonitors(connection, extensions);
  } catch (const Error&) {
    monitors.clear();  // the connection broke
  }
}

}  // namespace quorvin
