#import <CoreGraphics/CGDirectDisplay.h>
#import <CoreGraphics/CGDisplayControl.h>

#include <mutex>
#include <string>
#include <utility>

#include "tests/macos/standin/CallLog.h"

namespace {

std::mutex& mutex() {
  static std::mutex guard;
  return guard;
}

// Guarded by the mutex.
std::map<CGDirectDisplayID, standin::Display>& displays() {
  static std::map<CGDirectDisplayID, standin::Display> all;
  return all;
}

standin::Display ask(const char* operation, CGDirectDisplayID display) {
  standin::record(operation, {std::to_string(display)});
  standin::requireMainThread(operation);
  const std::lock_guard lock(mutex());
  const auto found = displays().find(display);
  return found == displays().end() ? standin::Display{.isActive = false} : found->second;
}

}  // namespace

CGRect CGDisplayBounds(CGDirectDisplayID display) {
  const auto shown = ask("CGDisplayBounds", display);
  return {{shown.x, shown.y}, {shown.width, shown.height}};
}

boolean_t CGDisplayIsActive(CGDirectDisplayID display) {
  return ask("CGDisplayIsActive", display).isActive ? 1 : 0;
}

namespace standin {

void setDisplays(std::map<CGDirectDisplayID, Display> displays) {
  const std::lock_guard lock(mutex());
  ::displays() = std::move(displays);
}

}  // namespace standin
