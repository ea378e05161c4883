#include "platform/linux/DisplayGuard.h"

#include <gdk/gdkx.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace quorvin {
namespace {

// GDK's own handler ends the process; this one lets Xlib go on to its exit handler.
int stayAlive(Display* /*display*/) {
  return 0;
}

// In place of ending the process (what Xlib does by default). Xlib has marked the display as
// broken and sends and reads nothing any more, but GDK would still poll its hung-up descriptor and
// find it ready for ever: one that never becomes ready takes its place.
void silenceDisplay(Display* display, void* guardsSilence) {
  const auto& silence = *static_cast<const FileDescriptor*>(guardsSilence);
  ::dup2(silence.get(), ConnectionNumber(display));
}

}  // namespace

DisplayGuard::DisplayGuard(GdkDisplay* display) {
  if (!GDK_IS_X11_DISPLAY(display)) return;
  silence = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  XSetIOErrorHandler(&stayAlive);
  XSetIOErrorExitHandler(gdk_x11_display_get_xdisplay(display), &silenceDisplay, &silence);
}

}  // namespace quorvin
