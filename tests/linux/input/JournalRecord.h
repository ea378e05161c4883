#pragma once

#include <cstdint>
#include <set>

#include "platform/linux/input/InputJournal.h"

namespace quorvin {

// Keeps what may have to be undone: all that was ever pressed, and the key codes that are bound.
class JournalRecord final : public InputJournal {
 public:
  void prepare() override { isPrepared = true; }
  bool willPressButton(std::uint8_t button) override { return add(buttons, button); }
  bool willPressKey(std::uint8_t keycode) override { return add(keys, keycode); }
  bool willBindKey(std::uint8_t keycode) override { return add(bound, keycode); }
  void didUnbindKey(std::uint8_t keycode) override { bound.erase(keycode); }

  [[nodiscard]] bool isEmpty() const { return buttons.empty() && keys.empty() && bound.empty(); }

  std::set<std::uint8_t> buttons;
  std::set<std::uint8_t> keys;
  std::set<std::uint8_t> bound;
  bool isPrepared = false;
  bool isThere = true;  // otherwise nothing may be done

 private:
  bool add(std::set<std::uint8_t>& to, std::uint8_t number) const {
    if (isThere) to.insert(number);
    return isThere;
  }
};

}  // namespace quorvin
