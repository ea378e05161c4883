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

// Key codes without symbols that are lent to characters which the layout in force lacks, such as
// Latin letters on a Russian one. Without them an application would get another letter than the
// supporter typed, or none.
//
// A key code keeps its symbols after it was pressed, since a program looks them up when it comes to
// handle the event, which may be much later. Only when there are no others is the one that was not
// used for longest given other symbols.
//
// Used by the connection's thread; the connection and the journal must outlive it.
class SpareKeys {
 public:
  SpareKeys(X11Connection& connection, InputJournal& journal)
      : connection(connection), journal(journal) {}

  // The key code that has these symbols from now on. Empty when there is none to be had; those of
  // `held` are not given other symbols.
  [[nodiscard]] std::optional<Keycode> lend(const KeySymbols& symbols, const KeyboardMap& map,
                                            const std::set<Keycode>& held);
  // Key codes that have symbols of this object.
  [[nodiscard]] std::set<Keycode> lent() const;
  // Takes the symbols away from all of them; waits for the server.
  void takeBack();
  // After the layout was replaced: forgets those whose symbols went with it.
  void follow(const KeyboardMap& map);

  struct Loan {
    Keycode keycode = 0;
    KeySymbols symbols;
    std::uint64_t lastUse = 0;
  };
  // Those of another connection, which has ended without taking them back.
  void adopt(std::vector<Loan> left, const KeyboardMap& map);
  [[nodiscard]] const std::vector<Loan>& all() const { return loans; }

 private:
  Loan* oldest(const std::set<Keycode>& held);
  [[nodiscard]] Loan* add(const KeyboardMap& map);
  void change(Keycode keycode, const KeySymbols& symbols);

  X11Connection& connection;
  InputJournal& journal;
  std::vector<Loan> loans;
  std::uint64_t uses = 0;
};

}  // namespace quorvin
