#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/KeyMeaning.h"
#include "platform/linux/input/Keyboard.h"
#include "platform/linux/input/SpareKeycodes.h"
#include "platform/linux/input/XTestWriter.h"

namespace quorvin {

// Works the keyboard: translates a virtual key code of macOS, as on a US keyboard, into a key press
// on the layout in force.
//
// While a modifier for shortcuts is held, it presses the key with the unshifted symbol and leaves
// Shift as the supporter has it. Otherwise the character counts: Shift and AltGr are put around the
// press as the character needs them, whatever Caps Lock and NumLock say. Keys that the person at
// the machine holds are left alone and add to the press.
//
// Used by the connection's thread; connection, writer and journal must outlive it.
class KeyInjector {
 public:
  KeyInjector(X11Connection& connection, std::unique_ptr<Keyboard> keyboard, XTestWriter& writer,
              InputJournal& journal);

  void handle(const xcb_generic_event_t& event) { keyboard->handle(event, spareKeycodes.bound()); }
  // To be called before the events are handled that precede a press.
  void prepare() { keyboard->askState(); }
  void press(std::uint16_t virtualKey);
  void release(std::uint16_t virtualKey);
  // Releases everything and leaves the keyboard as it was found.
  void leave();

  // What has to be undone.
  struct PendingReleases {
    std::set<Keycode> keycodes;  // that are held
    std::vector<SpareKeycodes::Binding> bindings;
    bool isRepeatUsed = false;
  };
  [[nodiscard]] PendingReleases pendingReleases() const;
  // Undoes what an earlier connection left when it broke.
  void takeOver(PendingReleases pending);

 private:
  using Modifiers = std::optional<LevelModifiers>;  // empty: as they are
  struct Stroke {
    Keycode keycode = 0;
    Modifiers modifiers;
  };

  [[nodiscard]] std::optional<Stroke> strokeFor(std::uint16_t virtualKey);
  [[nodiscard]] std::optional<Stroke> typing(const KeySymbols& symbols, Keycode preferred);
  [[nodiscard]] std::optional<Stroke> shortcut(const KeySymbols& symbols, Keycode preferred);
  [[nodiscard]] std::optional<Stroke> bindSpare(const KeySymbols& symbols, bool isShifted);
  [[nodiscard]] Keycode keyNamed(const KeyMeaning& meaning) const;
  [[nodiscard]] Modifiers modifiersOfHeld(std::uint16_t virtualKey, Keycode keycode) const;

  void strike(const Stroke& stroke);
  // Presses or releases Shift or AltGr; what was done is undone by the opposite.
  std::set<Keycode> setModifier(std::uint32_t mask, Keycode key, bool isHeld, bool isWanted);
  void undo(const std::set<Keycode>& changed, bool wasHeld);

  [[nodiscard]] std::set<Keycode> held() const;
  [[nodiscard]] bool holds(std::uint32_t mask) const;
  [[nodiscard]] bool holdsShortcutModifier() const;
  [[nodiscard]] LevelModifiers levelHeld() const;
  [[nodiscard]] KeyboardState foreignState() const;

  XTestWriter& writer;
  InputJournal& journal;
  std::unique_ptr<Keyboard> keyboard;
  SpareKeycodes spareKeycodes;
  // A key is released with the key code that it was pressed with, whatever happened since.
  std::map<std::uint16_t, Keycode> keys;
};

}  // namespace quorvin
