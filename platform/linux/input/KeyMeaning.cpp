#include "platform/linux/input/KeyMeaning.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>

namespace quorvin {

namespace {

// Virtual key codes of macOS (HIToolbox, Events.h).
constexpr std::uint16_t capsLock = 57;
constexpr std::uint16_t keypadClear = 71;
constexpr std::uint16_t help = 114;

constexpr std::uint16_t firstKeycode = 8;  // that of evdev's 0
constexpr std::uint16_t lastKeycode = 255;

// What these type depends on NumLock, or on the country: a comma instead of a point.
bool isKeypadCharacter(std::uint32_t symbol) {
  return (symbol >= XKB_KEY_KP_0 && symbol <= XKB_KEY_KP_9) || symbol == XKB_KEY_KP_Decimal ||
         symbol == XKB_KEY_KP_Separator;
}

std::optional<KeySymbols> characterOf(const KeyRow& row) {
  if (row.plain != 0) return KeySymbols{row.plain, row.shifted};
  if (isKeypadCharacter(row.symbol)) return KeySymbols{row.symbol, row.symbol};
  // At its place other keyboards have NumLock, which must not be toggled.
  if (row.virtualKey == keypadClear) return KeySymbols{XKB_KEY_Clear, XKB_KEY_Clear};
  return {};
}

}  // namespace

std::optional<KeyMeaning> keyMeaning(std::uint16_t virtualKey) {
  const auto rows = keyTable();
  const auto row = std::ranges::find(rows, virtualKey, &KeyRow::virtualKey);
  if (row == rows.end() || virtualKey == capsLock) return {};
  const int keycode = row->evdevCode + firstKeycode;
  if (keycode > lastKeycode) return {};
  // Where Macs have Help, other keyboards have Insert, and that is what their users press.
  const std::uint32_t symbol = virtualKey == help ? 0 : row->symbol;
  return KeyMeaning{characterOf(*row), symbol, static_cast<std::uint8_t>(keycode)};
}

}  // namespace quorvin
