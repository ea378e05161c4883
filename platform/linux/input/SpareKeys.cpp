#include "platform/linux/input/SpareKeys.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quorvin {

std::optional<Keycode> SpareKeys::lend(const KeySymbols& symbols, const KeyboardMap& map,
                                       const std::set<Keycode>& held) {
  const auto known = std::ranges::find(loans, symbols, &Loan::symbols);
  Loan* loan = known != loans.end() ? &*known : nullptr;
  if (loan == nullptr) {
    loan = add(map);
    if (loan == nullptr) loan = oldest(held);
    if (loan == nullptr) return {};
    if (!journal.willBindKey(loan->keycode)) {
      std::erase_if(loans, [](const Loan& each) { return each.symbols == KeySymbols{}; });
      return {};
    }
    loan->symbols = symbols;
    change(loan->keycode, symbols);
  }
  loan->lastUse = ++uses;
  return loan->keycode;
}

std::set<Keycode> SpareKeys::lent() const {
  std::set<Keycode> keycodes;
  for (const auto& loan : loans) keycodes.insert(loan.keycode);
  return keycodes;
}

void SpareKeys::takeBack() {
  constexpr KeySymbols none;
  for (const auto& loan : loans) change(loan.keycode, none);
  // What a server has not read of a client that ends, it may never read.
  const auto carriedOut =
      x11Reply(xcb_get_input_focus_reply, connection.get(), xcb_get_input_focus(connection.get()));
  if (!carriedOut) return;
  for (const auto& loan : loans) journal.didUnbindKey(loan.keycode);
  loans.clear();
}

void SpareKeys::follow(const KeyboardMap& map) {
  std::erase_if(loans, [&](const Loan& loan) {
    const bool isGone = map.plainSymbol(loan.keycode) != loan.symbols.plain;
    if (isGone) journal.didUnbindKey(loan.keycode);
    return isGone;
  });
}

void SpareKeys::adopt(std::vector<Loan> left, const KeyboardMap& map) {
  loans = std::move(left);
  for (const auto& loan : loans) uses = std::max(uses, loan.lastUse);
  follow(map);
}

SpareKeys::Loan* SpareKeys::oldest(const std::set<Keycode>& held) {
  Loan* found = nullptr;
  for (auto& loan : loans) {
    if (held.contains(loan.keycode)) continue;
    if (found == nullptr || loan.lastUse < found->lastUse) found = &loan;
  }
  return found;
}

SpareKeys::Loan* SpareKeys::add(const KeyboardMap& map) {
  const auto taken = lent();
  for (const Keycode keycode : map.unused()) {
    if (!taken.contains(keycode)) return &loans.emplace_back(Loan{keycode, {}, 0});
  }
  return nullptr;
}

// The request of the core protocol: it reaches every keyboard of the seat, and the server works out
// what XKB has to know.
void SpareKeys::change(Keycode keycode, const KeySymbols& symbols) {
  const std::array<xcb_keysym_t, 2> both{symbols.plain, symbols.shifted};
  xcb_change_keyboard_mapping(connection.get(), 1, keycode, both.size(), both.data());
}

}  // namespace quorvin
