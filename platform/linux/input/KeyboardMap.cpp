#include "platform/linux/input/KeyboardMap.h"

#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>
#include <array>

namespace quorvin {

namespace {

// In the order of how little they change.
std::array<LevelModifiers, 4> attempts(LevelModifiers held) {
  return {
      {held, {!held.shift, held.level3}, {held.shift, !held.level3}, {!held.shift, !held.level3}}};
}

Keycode narrow(xkb_keycode_t keycode) {
  return static_cast<Keycode>(std::clamp<xkb_keycode_t>(keycode, 8, 255));
}

}  // namespace

std::unique_ptr<KeyboardMap> KeyboardMap::read(X11Connection& connection, std::uint16_t device) {
  const std::unique_ptr<xkb_context, Free> context(
      xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
  if (!context) return nullptr;
  KeymapPointer keymap(xkb_x11_keymap_new_from_device(context.get(), connection.get(), device,
                                                      XKB_KEYMAP_COMPILE_NO_FLAGS));
  if (!keymap) return nullptr;
  return std::unique_ptr<KeyboardMap>(new KeyboardMap(std::move(keymap)));
}

KeyboardMap::KeyboardMap(KeymapPointer map)
    : keymap(std::move(map)),
      scratch(xkb_state_new(keymap.get())),
      first(narrow(xkb_keymap_min_keycode(keymap.get()))),
      last(narrow(xkb_keymap_max_keycode(keymap.get()))) {
  const std::set<Keycode> none;
  shiftKeycode = findPlain(XKB_KEY_Shift_L, 0, 0, none).value_or(0);
  level3Keycode = findPlain(XKB_KEY_ISO_Level3_Shift, 0, 0, none).value_or(0);
  if (shiftKeycode != 0) shift = modifiersOf(shiftKeycode);
  if (level3Keycode != 0) level3 = modifiersOf(level3Keycode);
}

std::optional<KeyChoice> KeyboardMap::find(std::uint32_t symbol, const KeyboardState& state,
                                           LevelModifiers held, Keycode preferred,
                                           const std::set<Keycode>& excluded) const {
  for (const auto& modifiers : attempts(held)) {
    const auto gives = [&](int keycode) {
      const auto narrowed = static_cast<Keycode>(keycode);
      return !excluded.contains(narrowed) && symbolOf(narrowed, state, modifiers) == symbol;
    };
    if (gives(preferred)) return KeyChoice{preferred, modifiers};
    for (int keycode = first; keycode <= last; ++keycode) {
      if (gives(keycode)) return KeyChoice{static_cast<Keycode>(keycode), modifiers};
    }
  }
  return {};
}

std::optional<LevelModifiers> KeyboardMap::modifiersFor(Keycode keycode, std::uint32_t symbol,
                                                        const KeyboardState& state,
                                                        LevelModifiers held) const {
  for (const auto& modifiers : attempts(held)) {
    if (symbolOf(keycode, state, modifiers) == symbol) return modifiers;
  }
  return {};
}

std::optional<Keycode> KeyboardMap::findPlain(std::uint32_t symbol, std::uint32_t group,
                                              Keycode preferred,
                                              const std::set<Keycode>& excluded) const {
  const auto choice = find(symbol, {.group = group}, {}, preferred, excluded);
  if (!choice || choice->modifiers != LevelModifiers{}) return {};
  return choice->keycode;
}

std::uint32_t KeyboardMap::plainSymbol(Keycode keycode) const {
  return symbolOf(keycode, {}, {});
}

std::uint32_t KeyboardMap::modifiersOf(Keycode keycode) const {
  const StatePointer state(xkb_state_new(keymap.get()));
  xkb_state_update_key(state.get(), keycode, XKB_KEY_DOWN);
  constexpr std::uint32_t realModifiers = 0xFF;
  return xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_DEPRESSED) & realModifiers;
}

std::vector<Keycode> KeyboardMap::unused() const {
  std::vector<Keycode> found;
  for (int keycode = last; keycode >= first; --keycode) {
    const auto narrowed = static_cast<Keycode>(keycode);
    if (isUnused(narrowed)) found.push_back(narrowed);
  }
  return found;
}

std::uint32_t KeyboardMap::symbolOf(Keycode keycode, const KeyboardState& state,
                                    LevelModifiers modifiers) const {
  std::uint32_t held = state.heldModifiers;
  if (modifiers.shift) held |= shift;
  if (modifiers.level3) held |= level3;
  xkb_state_update_mask(scratch.get(), held, state.latchedModifiers, state.lockedModifiers, 0, 0,
                        state.group);
  return xkb_state_key_get_one_sym(scratch.get(), keycode);
}

bool KeyboardMap::isUnused(Keycode keycode) const {
  const auto layouts = xkb_keymap_num_layouts_for_key(keymap.get(), keycode);
  for (xkb_layout_index_t layout = 0; layout < layouts; ++layout) {
    const auto levels = xkb_keymap_num_levels_for_key(keymap.get(), keycode, layout);
    for (xkb_level_index_t level = 0; level < levels; ++level) {
      const xkb_keysym_t* symbols = nullptr;
      if (xkb_keymap_key_get_syms_by_level(keymap.get(), keycode, layout, level, &symbols) > 0) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace quorvin
