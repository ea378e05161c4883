#include "platform/linux/system/InhibitScreenSaver.h"

#include <xcb/screensaver.h>

#include "platform/linux/x11/X11Connection.h"

namespace quorvin {
namespace {

bool suspend(X11Connection& display) {
  const auto* extension = xcb_get_extension_data(display.get(), &xcb_screensaver_id);
  if (extension == nullptr || extension->present == 0) return false;
  // Servers take the request from clients that said they know of version 1.1, which brought it.
  const auto version = xcb_screensaver_query_version(display.get(), 1, 1);
  return x11Reply(xcb_screensaver_query_version_reply, display.get(), version) != nullptr &&
         display.succeeded(xcb_screensaver_suspend_checked(display.get(), 1));
}

}  // namespace

InhibitScreenSaver::InhibitScreenSaver(const std::string& display) : attempt(display, &suspend) {}

}  // namespace quorvin
