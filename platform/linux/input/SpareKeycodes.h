#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/KeyMeaning.h"
#include "platform/linux/input/KeyboardMap.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// Binds characters that the layout in force lacks, such as Latin letters on a Russian one, to key
// codes that have no symbols. Without that an application would get another letter than the
// supporter typed, or none.
//
// A binding outlives the press: a program looks up the symbols when it handles the event, which may
// be much later. Only when no key code is free, the least recently used binding is replaced.
//
// Used by the connection's thread; the connection and the journal must outlive it.
class SpareKeycodes {
 public:
  SpareKeycodes(X11Connection& connection, InputJournal& journal)
      : connection(connection), journal(journal) {}

  // The key code that has these symbols from now on. Empty when there is none to be had; those of
  // `held` are not given other symbols.
  [[nodiscard]] std::optional<Keycode> bind(const KeySymbols& symbols, const KeyboardMap& map,
                                            const std::set<Keycode>& held);
  // The key codes that are bound now.
  [[nodiscard]] std::set<Keycode> bound() const;
  // Unbinds all of them; waits for the server.
  void unbindAll();
  // After the layout was replaced: forgets those whose symbols went with it.
  void follow(const KeyboardMap& map);

  struct Binding {
    Keycode keycode = 0;
    KeySymbols symbols;
    std::uint64_t lastUse = 0;
  };
  // Takes over the bindings of another connection, which has ended without unbinding them.
  void takeOver(std::vector<Binding> pending, const KeyboardMap& map);
  [[nodiscard]] const std::vector<Binding>& all() const { return bindings; }

 private:
  Binding* oldest(const std::set<Keycode>& held);
  [[nodiscard]] Binding* add(const KeyboardMap& map);
  void change(Keycode keycode, const KeySymbols& symbols);

  X11Connection& connection;
  InputJournal& journal;
  std::vector<Binding> bindings;
  std::uint64_t uses = 0;
};

}  // namespace quorvin
