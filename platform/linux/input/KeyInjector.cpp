#include "platform/linux/input/KeyInjector.h"

#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <utility>

namespace quorvin {

namespace {

// Virtual key codes of macOS for Command, Option and Control.
constexpr std::array<std::uint16_t, 6> shortcutModifiers{54, 55, 58, 59, 61, 62};

constexpr std::uint32_t lockModifier = 2;  // of the core protocol

// Of such a pair the server makes a key that Caps Lock shifts.
bool isLetter(const KeySymbols& symbols) {
  return symbols.plain != symbols.shifted && xkb_keysym_to_upper(symbols.plain) == symbols.shifted;
}

}  // namespace

KeyInjector::KeyInjector(X11Connection& connection, std::unique_ptr<Keyboard> opened,
                         XTestWriter& writer, InputJournal& journal)
    : writer(writer),
      journal(journal),
      keyboard(std::move(opened)),
      spareKeycodes(connection, journal) {}

void KeyInjector::press(std::uint16_t virtualKey) {
  if (keyboard->follow()) spareKeycodes.follow(keyboard->map());
  const auto known = keys.find(virtualKey);
  if (known == keys.end()) {
    const auto stroke = strokeFor(virtualKey);
    if (!stroke || !journal.willPressKey(stroke->keycode)) return;
    if (keys.empty()) keyboard->repeat().suppress();
    if (held().contains(stroke->keycode)) writer.key(stroke->keycode, false);
    keys[virtualKey] = stroke->keycode;
    strike(*stroke);
    return;
  }
  // A modifier does not repeat. Of any other key the server lets through only what follows a
  // release, which is also how it repeats keys itself.
  const Keycode keycode = known->second;
  if (keyboard->map().modifiersOf(keycode) != 0 || !journal.willPressKey(keycode)) return;
  writer.key(keycode, false);
  strike({keycode, modifiersOfHeld(virtualKey, keycode)});
}

void KeyInjector::release(std::uint16_t virtualKey) {
  const auto known = keys.find(virtualKey);
  if (known == keys.end()) return;
  const Keycode keycode = known->second;
  keys.erase(known);
  if (held().contains(keycode)) return;
  writer.key(keycode, false);
  if (keys.empty()) keyboard->repeat().resume();
  writer.flush();
}

void KeyInjector::leave() {
  while (!keys.empty()) release(keys.begin()->first);
  spareKeycodes.unbindAll();
  keyboard->repeat().leave();
  writer.flush();
}

KeyInjector::PendingReleases KeyInjector::pendingReleases() const {
  return {held(), spareKeycodes.all(), keyboard->repeat().isUsed()};
}

// On a server that was started since, to release a key that is not down does nothing.
void KeyInjector::takeOver(PendingReleases pending) {
  undo(pending.keycodes, false);
  spareKeycodes.takeOver(std::move(pending.bindings), keyboard->map());
  if (pending.isRepeatUsed) keyboard->repeat().takeOver();
}

std::set<Keycode> KeyInjector::held() const {
  std::set<Keycode> keycodes;
  for (const auto& [virtualKey, keycode] : keys) keycodes.insert(keycode);
  return keycodes;
}

std::optional<KeyInjector::Stroke> KeyInjector::strokeFor(std::uint16_t virtualKey) {
  const auto meaning = keyMeaning(virtualKey);
  if (!meaning) return {};
  if (!meaning->types) return Stroke{keyNamed(*meaning), {}};
  return holdsShortcutModifier() ? shortcut(*meaning->types, meaning->keycode)
                                 : typing(*meaning->types, meaning->keycode);
}

std::optional<KeyInjector::Stroke> KeyInjector::typing(const KeySymbols& symbols,
                                                       Keycode preferred) {
  const LevelModifiers held = levelHeld();
  const std::uint32_t symbol = held.shift ? symbols.shifted : symbols.plain;
  const auto excluded = spareKeycodes.bound();
  const auto& map = keyboard->map();
  KeyboardState state = foreignState();
  auto choice = map.find(symbol, state, held, preferred, excluded);
  if (!choice && state.heldModifiers != 0) {
    // What the person at the machine holds is in the way; that will be seen in what arrives.
    state.heldModifiers = 0;
    choice = map.find(symbol, state, held, preferred, excluded);
  }
  if (choice) return Stroke{choice->keycode, choice->modifiers};
  return bindSpare(symbols, held.shift);
}

// A key that makes the symbol only with AltGr gets AltGr. Caps Lock and NumLock do not matter to
// programs that look for shortcuts.
std::optional<KeyInjector::Stroke> KeyInjector::shortcut(const KeySymbols& symbols,
                                                         Keycode preferred) {
  const KeyboardState unlocked{.group = keyboard->state().group};
  const auto choice =
      keyboard->map().find(symbols.plain, unlocked, {}, preferred, spareKeycodes.bound());
  const LevelModifiers held = levelHeld();
  if (choice) {
    return Stroke{choice->keycode,
                  LevelModifiers{held.shift, held.level3 || choice->modifiers.level3}};
  }
  const auto keycode = spareKeycodes.bind(symbols, keyboard->map(), this->held());
  if (!keycode) return {};
  return Stroke{*keycode, held};
}

std::optional<KeyInjector::Stroke> KeyInjector::bindSpare(const KeySymbols& symbols,
                                                          bool isShifted) {
  const auto keycode = spareKeycodes.bind(symbols, keyboard->map(), held());
  if (!keycode) return {};
  const bool isCapital = (keyboard->state().lockedModifiers & lockModifier) != 0;
  const bool isReversed = isLetter(symbols) && isCapital;
  return Stroke{*keycode, LevelModifiers{isShifted != isReversed, false}};
}

Keycode KeyInjector::keyNamed(const KeyMeaning& meaning) const {
  if (meaning.symbol == 0) return meaning.keycode;
  return keyboard->map()
      .findPlain(meaning.symbol, keyboard->state().group, meaning.keycode, spareKeycodes.bound())
      .value_or(meaning.keycode);
}

KeyInjector::Modifiers KeyInjector::modifiersOfHeld(std::uint16_t virtualKey,
                                                    Keycode keycode) const {
  const auto meaning = keyMeaning(virtualKey);
  if (!meaning || !meaning->types || holdsShortcutModifier()) return {};
  const LevelModifiers held = levelHeld();
  const auto symbol = held.shift ? meaning->types->shifted : meaning->types->plain;
  return keyboard->map().modifiersFor(keycode, symbol, foreignState(), held);
}

void KeyInjector::strike(const Stroke& stroke) {
  const LevelModifiers held = levelHeld();
  const LevelModifiers wanted = stroke.modifiers.value_or(held);
  const auto& map = keyboard->map();
  const auto shiftKeys = setModifier(map.shiftMask(), map.shiftKey(), held.shift, wanted.shift);
  const auto level3Keys =
      setModifier(map.level3Mask(), map.level3Key(), held.level3, wanted.level3);
  writer.key(stroke.keycode, true);
  writer.flush();
  undo(level3Keys, held.level3);
  undo(shiftKeys, held.shift);
}

std::set<Keycode> KeyInjector::setModifier(std::uint32_t mask, Keycode key, bool isHeld,
                                           bool isWanted) {
  if (isHeld == isWanted || key == 0) return {};
  if (isWanted) {
    if (!journal.willPressKey(key)) return {};
    writer.key(key, true);
    return {key};
  }
  std::set<Keycode> released;
  for (const Keycode keycode : held()) {
    if ((keyboard->map().modifiersOf(keycode) & mask) == 0) continue;
    writer.key(keycode, false);
    released.insert(keycode);
  }
  return released;
}

// Pressing again what the journal knows as pressed needs no word to it.
void KeyInjector::undo(const std::set<Keycode>& changed, bool wasHeld) {
  for (const Keycode keycode : changed) {
    writer.key(keycode, wasHeld);
    writer.flush();
  }
}

bool KeyInjector::holds(std::uint32_t mask) const {
  return std::ranges::any_of(
      keys, [&](const auto& key) { return (keyboard->map().modifiersOf(key.second) & mask) != 0; });
}

bool KeyInjector::holdsShortcutModifier() const {
  return std::ranges::any_of(shortcutModifiers,
                             [this](std::uint16_t code) { return keys.contains(code); });
}

LevelModifiers KeyInjector::levelHeld() const {
  return {holds(keyboard->map().shiftMask()), holds(keyboard->map().level3Mask())};
}

// Without what this object holds itself.
KeyboardState KeyInjector::foreignState() const {
  KeyboardState state = keyboard->state();
  const auto held = levelHeld();
  if (held.shift) state.heldModifiers &= ~keyboard->map().shiftMask();
  if (held.level3) state.heldModifiers &= ~keyboard->map().level3Mask();
  return state;
}

}  // namespace quorvin
