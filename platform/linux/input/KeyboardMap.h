#pragma once

#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// What XKB knows of a keyboard at one moment; modifiers are bit masks of its eight real ones.
struct KeyboardState {
  std::uint32_t heldModifiers = 0;
  std::uint32_t latchedModifiers = 0;
  std::uint32_t lockedModifiers = 0;
  std::uint32_t group = 0;  // in force
};

using Keycode = std::uint8_t;

// The two modifiers that choose among the symbols of a key: Shift and ISO_Level3_Shift (AltGr).
struct LevelModifiers {
  bool shift = false;
  bool level3 = false;

  friend bool operator==(const LevelModifiers&, const LevelModifiers&) = default;
};

struct KeyChoice {
  Keycode keycode = 0;
  LevelModifiers modifiers;  // that have to be held for it
};

// The layout of a keyboard as the server has it, read with libxkbcommon
// (https://xkbcommon.org/doc/current/).
class KeyboardMap {
 public:
  // Waits for the server. Null when the server does not tell.
  [[nodiscard]] static std::unique_ptr<KeyboardMap> read(X11Connection& connection,
                                                         std::uint16_t device);

  // The key that gives this symbol in the state when some level modifiers are held beside what the
  // state has: the key whose modifiers differ least from `held`. Of several with the same ones it
  // is `preferred` or else the first one. Those of `excluded` are passed over.
  [[nodiscard]] std::optional<KeyChoice> find(std::uint32_t symbol, const KeyboardState& state,
                                              LevelModifiers held, Keycode preferred,
                                              const std::set<Keycode>& excluded) const;
  // The modifiers with which this key gives the symbol, likewise.
  [[nodiscard]] std::optional<LevelModifiers> modifiersFor(Keycode keycode, std::uint32_t symbol,
                                                           const KeyboardState& state,
                                                           LevelModifiers held) const;
  // The key that has this symbol without any modifier, in that layout (XKB's group, from 0).
  [[nodiscard]] std::optional<Keycode> findPlain(std::uint32_t symbol, std::uint32_t group,
                                                 Keycode preferred,
                                                 const std::set<Keycode>& excluded) const;
  [[nodiscard]] std::uint32_t plainSymbol(Keycode keycode) const;
  // The modifiers that are held while this key is.
  [[nodiscard]] std::uint32_t modifiersOf(Keycode keycode) const;
  // The key codes that have no symbols at all, the least likely ones to have a key first.
  [[nodiscard]] std::vector<Keycode> unused() const;

  [[nodiscard]] std::uint32_t shiftMask() const { return shift; }
  [[nodiscard]] std::uint32_t level3Mask() const { return level3; }
  // Keys to press these modifiers with; 0 when the layout has none.
  [[nodiscard]] Keycode shiftKey() const { return shiftKeycode; }
  [[nodiscard]] Keycode level3Key() const { return level3Keycode; }

 private:
  struct Free {
    void operator()(xkb_context* owned) const { xkb_context_unref(owned); }
    void operator()(xkb_keymap* owned) const { xkb_keymap_unref(owned); }
    void operator()(xkb_state* owned) const { xkb_state_unref(owned); }
  };
  using KeymapPointer = std::unique_ptr<xkb_keymap, Free>;
  using StatePointer = std::unique_ptr<xkb_state, Free>;

  explicit KeyboardMap(KeymapPointer keymap);

  [[nodiscard]] std::uint32_t symbolOf(Keycode keycode, const KeyboardState& state,
                                       LevelModifiers modifiers) const;
  [[nodiscard]] bool isUnused(Keycode keycode) const;

  KeymapPointer keymap;
  StatePointer scratch;
  Keycode first;
  Keycode last;
  Keycode shiftKeycode = 0;
  Keycode level3Keycode = 0;
  std::uint32_t shift = 0;
  std::uint32_t level3 = 0;
};

}  // namespace quorvin
