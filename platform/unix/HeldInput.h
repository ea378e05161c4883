#pragma once

#include <cstdint>
#include <set>
#include <span>
#include <vector>

namespace quorvin {

// What the host tells its guardian about one button or key code of the X server. Not that something
// is released: a server that finds a client gone drops what it has not read of it yet, which may be
// that very release. So the guardian looks at what the server holds when the host is gone.
enum class InputChange : std::uint8_t {
  pressButton = 1,
  pressKey = 2,
  bindKey = 3,
  unbindKey = 4,
};

struct InputRecord {
  InputChange change;
  std::uint8_t code;
};

// A message is a row of records of two bytes each: the change's number and the code.
using JournalMessage = std::vector<std::uint8_t>;
inline constexpr std::size_t journalRecordBytes = 2;

[[nodiscard]] JournalMessage journalMessage(InputRecord record);

// What the host may hold: all that it has ever pressed, and the key codes that are bound.
struct HeldInput {
  std::set<std::uint8_t> buttons;
  std::set<std::uint8_t> keys;
  std::set<std::uint8_t> boundKeys;

  [[nodiscard]] bool isEmpty() const {
    return buttons.empty() && keys.empty() && boundKeys.empty();
  }

  void note(InputRecord record);
  // Takes what a message says. Changes of an unknown kind and half a record at the end count as
  // not said.
  void note(std::span<const std::uint8_t> message);
  // What to tell somebody who knows of nothing held yet.
  [[nodiscard]] JournalMessage asMessage() const;

  friend bool operator==(const HeldInput&, const HeldInput&) = default;
};

}  // namespace quorvin
