#include "platform/linux/input/SpareKeycodes.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quorvin {

std::optional<Keycode> SpareKeycodes::bind(const KeySymbols& symbols, const KeyboardMap& map,
                                           const std::set<Keycode>& held) {
  const auto known = std::ranges::find(bindings, symbols, &Binding::symbols);
  Binding* binding = known != bindings.end() ? &*known : nullptr;
  if (binding == nullptr) {
    binding = add(map);
    if (binding == nullptr) binding = oldest(held);
    if (binding == nullptr) return {};
    if (!journal.willBindKey(binding->keycode)) {
      std::erase_if(bindings, [](const Binding& each) { return each.symbols == KeySymbols{}; });
      return {};
    }
    binding->symbols = symbols;
    change(binding->keycode, symbols);
  }
  binding->lastUse = ++uses;
  return binding->keycode;
}

std::set<Keycode> SpareKeycodes::bound() const {
  std::set<Keycode> keycodes;
  for (const auto& binding : bindings) keycodes.insert(binding.keycode);
  return keycodes;
}

void SpareKeycodes::unbindAll() {
  constexpr KeySymbols none;
  for (const auto& binding : bindings) change(binding.keycode, none);
  // What a server has not read of a client that ends, it may never read.
  const auto carriedOut =
      x11Reply(xcb_get_input_focus_reply, connection.get(), xcb_get_input_focus(connection.get()));
  if (!carriedOut) return;
  for (const auto& binding : bindings) journal.didUnbindKey(binding.keycode);
  bindings.clear();
}

void SpareKeycodes::follow(const KeyboardMap& map) {
  std::erase_if(bindings, [&](const Binding& binding) {
    const bool isGone = map.plainSymbol(binding.keycode) != binding.symbols.plain;
    if (isGone) journal.didUnbindKey(binding.keycode);
    return isGone;
  });
}

void SpareKeycodes::takeOver(std::vector<Binding> pending, const KeyboardMap& map) {
  bindings = std::move(pending);
  for (const auto& binding : bindings) uses = std::max(uses, binding.lastUse);
  follow(map);
}

SpareKeycodes::Binding* SpareKeycodes::oldest(const std::set<Keycode>& held) {
  Binding* found = nullptr;
  for (auto& binding : bindings) {
    if (held.contains(binding.keycode)) continue;
    if (found == nullptr || binding.lastUse < found->lastUse) found = &binding;
  }
  return found;
}

SpareKeycodes::Binding* SpareKeycodes::add(const KeyboardMap& map) {
  const auto taken = bound();
  for (const Keycode keycode : map.unused()) {
    if (!taken.contains(keycode)) return &bindings.emplace_back(Binding{keycode, {}, 0});
  }
  return nullptr;
}

// The request of the core protocol: it reaches every keyboard of the seat, and the server works out
// what XKB has to know.
void SpareKeycodes::change(Keycode keycode, const KeySymbols& symbols) {
  const std::array<xcb_keysym_t, 2> both{symbols.plain, symbols.shifted};
  xcb_change_keyboard_mapping(connection.get(), 1, keycode, both.size(), both.data());
}

}  // namespace quorvin
