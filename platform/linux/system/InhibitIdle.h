#pragma once

#include <memory>
#include <string>

namespace quorvin {

// Asks the desktop, over its session bus, to neither blank the screen nor suspend the machine by
// itself for as long as this object exists. Every service of these is asked that is running, and
// none is started:
// org.freedesktop.ScreenSaver
// (https://specifications.freedesktop.org/idle-inhibit-spec/latest/),
// org.freedesktop.PowerManagement.Inhibit, and org.gnome.SessionManager
// (https://gitlab.gnome.org/GNOME/gnome-session, org.gnome.SessionManager.xml).
// A missing bus or service is no error. Main thread; everything happens while the default main
// context is iterated, and the bus connection is this object's own, so that its end releases what
// an answer that never came could not.
class InhibitIdle {
 public:
  InhibitIdle(const std::string& busAddress, const std::string& reason);
  InhibitIdle(const InhibitIdle&) = delete;
  InhibitIdle& operator=(const InhibitIdle&) = delete;
  ~InhibitIdle();

 private:
  class Requests;
  const std::shared_ptr<Requests> requests;
};

}  // namespace quorvin
