#pragma once

#include <memory>
#include <string>

#include "platform/Process.h"
#include "platform/linux/system/Process.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// A running activity; over when it is ended or destroyed, whichever comes first. Main thread. It
// takes effect a moment later, since nothing waits for the display or the bus.
//
// It keeps the X server's own screen saver from starting (MIT-SCREEN-SAVER,
// https://www.x.org/releases/current/doc/scrnsaverproto/saver.html). A display that cannot be
// opened or has no such extension is left alone. The server ends it by itself when the connection
// goes.
//
// It asks the desktop, over its session bus, to neither blank the screen nor suspend the machine by
// itself. Every service of these is asked that is running, and none is started:
// org.freedesktop.ScreenSaver
// (https://specifications.freedesktop.org/idle-inhibit-spec/latest/),
// org.freedesktop.PowerManagement.Inhibit, and org.gnome.SessionManager
// (https://gitlab.gnome.org/GNOME/gnome-session, org.gnome.SessionManager.xml).
// A missing bus or service is no error. The bus connection is the activity's own, so that its end
// releases what an answer that never came could not.
class Activity final : public ActivityToken {
 public:
  Activity(const ActivityServices& targets, const std::string& reason);
  ~Activity() override { end(); }
  void end();

 private:
  class IdleRequests;

  std::unique_ptr<DisplayAttempt> screenSaver;
  std::shared_ptr<IdleRequests> idle;
};

}  // namespace quorvin
