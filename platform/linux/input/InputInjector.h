#pragma once

#include <cstdint>
#include <memory>
#include <set>

#include "platform/linux/X11Connection.h"
#include "platform/linux/capture/X11Extensions.h"
#include "platform/linux/input/DisplayLayout.h"
#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/InputRecord.h"
#include "platform/linux/input/KeyInjector.h"
#include "platform/linux/input/PointerInjector.h"
#include "platform/linux/input/XTestWriter.h"

namespace quorvin {

// What was found out about a server when it was connected to.
struct InputServer {
  // Waits for the server.
  [[nodiscard]] static InputServer ask(X11Connection& connection);

  X11Extensions extensions;
  bool canInject = false;
  std::unique_ptr<Keyboard> keyboard;  // null when its keyboard cannot be worked
};

// Works the pointer and the keyboard of one X server. Used by the connection's thread; connection
// and journal must outlive it.
class InputInjector {
 public:
  // What has to be undone.
  struct Leftovers {
    std::set<std::uint8_t> buttons;
    KeyInjector::Leftovers keys;
  };

  // Undoes first what was left by a connection that broke.
  InputInjector(X11Connection& connection, InputServer server, InputJournal& journal,
                Leftovers left);
  InputInjector(const InputInjector&) = delete;
  InputInjector& operator=(const InputInjector&) = delete;
  // Releases what is held and leaves the keyboard as it was found, if the connection stands.
  ~InputInjector();

  // Takes notice of what the server has sent; false once the connection is broken.
  [[nodiscard]] bool isConnected();
  void post(const LinuxInputEvent::Record& record);
  // Where the displays lie now.
  [[nodiscard]] const DisplayLayout& displays();
  [[nodiscard]] Leftovers leftovers() const;
  // Waits until the server has carried out what was posted, but not for long.
  void settle() { writer.settle(); }

 private:
  void post(const MouseRecord& record);
  void post(const ScrollRecord& record);
  void post(const KeyRecord& record);
  void handleEvents();

  X11Connection& connection;
  bool canInject;
  DisplayLayout layout;
  XTestWriter writer;
  PointerInjector pointer;
  std::unique_ptr<KeyInjector> keys;  // null when there is no keyboard to work
};

}  // namespace quorvin
