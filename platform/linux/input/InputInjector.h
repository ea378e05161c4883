#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <vector>

#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/KeyInjector.h"
#include "platform/linux/input/LinuxInputEvent.h"
#include "platform/linux/input/PointerInjector.h"
#include "platform/linux/input/XTestWriter.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Monitors.h"
#include "platform/unix/ThreadCheck.h"

namespace quorvin {

// Works the pointer and the keyboard of one X server, for which it may have to wait. Used by the
// connection's thread; connection and journal must outlive it.
class InputInjector {
 public:
  // What has to be undone.
  struct PendingReleases {
    std::set<std::uint8_t> buttons;
    KeyInjector::PendingReleases keys;
  };

  // Finds out where the displays lie. Throws Error when the connection breaks.
  InputInjector(X11Connection& connection, InputJournal& journal);
  // Releases what is held and leaves the keyboard as it was found, if the connection stands.
  ~InputInjector();

  // Finds out what can be worked, without which nothing is.
  void prepare();
  // Undoes what was left by a connection that broke, and waits until the server has carried that
  // out. To be called when all is prepared.
  void takeOver(PendingReleases pending);

  void post(const LinuxInputEvent::Record& record);
  // Whether the server has carried out what was posted last. To be asked whenever the server has
  // sent something, and nothing else before it says yes.
  [[nodiscard]] bool isCarriedOut() { return writer.hasReply(); }
  // Takes notice of what the server has sent; true when the displays may have changed. Throws Error
  // when the connection breaks.
  [[nodiscard]] bool takeNews();
  [[nodiscard]] const std::vector<X11Monitor>& displays() const { return monitors; }
  [[nodiscard]] PendingReleases pendingReleases() const;

 private:
  void post(const MouseRecord& record);
  void post(const ScrollRecord& record);
  void post(const KeyRecord& record);
  void handleEvents();

  ThreadCheck thread;
  X11Connection& connection;
  InputJournal& journal;
  const X11Extensions extensions;
  X11MonitorWatch monitorWatch;
  std::vector<X11Monitor> monitors;
  XTestWriter writer;
  PointerInjector pointer;
  bool canInject = false;
  std::unique_ptr<KeyInjector> keys;  // null when there is no keyboard to work
};

}  // namespace quorvin
