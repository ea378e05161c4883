#pragma once

#include <sys/types.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <memory>

#include "platform/unix/HeldInput.h"

namespace quorvin::guardian {

// The X display that DISPLAY names, and what synthetic input (XTEST) holds pressed there. Waits for
// the server as long as it takes; once the connection is broken, nothing has an effect any more.
class InputDisplay {
 public:
  // Throws std::runtime_error when the display cannot be opened or takes no synthetic input.
  InputDisplay();

  // Readable when the server has sent something.
  [[nodiscard]] int descriptor() const { return xcb_get_file_descriptor(get()); }
  [[nodiscard]] bool isBroken() const { return xcb_connection_has_error(get()) != 0; }
  // The server tells every client when the meaning of keys changes, asked or not.
  void discardEvents();

  // Whether the server knows which processes on this machine are connected.
  [[nodiscard]] bool tellsProcesses();
  // Whether a program on this machine with that process id is connected. When it no longer is, the
  // server has carried out everything that it was ever asked by it. To be asked of a server that
  // tells processes: one without the X-Resource extension would count as broken from then on.
  [[nodiscard]] bool hasClient(pid_t process);

  // Releases those of the buttons, and then of the keys, that synthetic input holds. Others must be
  // left alone: when the person at the keyboard has a key down, the server would take it for
  // released.
  void release(const HeldInput& held);
  // Takes the symbols from key codes.
  void unbind(const std::set<std::uint8_t>& keys);

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* opened) const { xcb_disconnect(opened); }
  };

  [[nodiscard]] xcb_connection_t* get() const { return connection.get(); }
  void fake(std::uint8_t type, std::uint8_t code);
  [[nodiscard]] HeldInput heldBySyntheticInput();
  void addHeldBy(std::uint8_t device, HeldInput& held);
  [[nodiscard]] bool isSynthetic(std::uint16_t device);

  std::unique_ptr<xcb_connection_t, Disconnect> connection;
  xcb_atom_t syntheticProperty = XCB_ATOM_NONE;
};

}  // namespace quorvin::guardian
