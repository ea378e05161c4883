#pragma once

#include <cstdint>
#include <variant>

#include "platform/InputEvents.h"

namespace quorvin {

struct MouseRecord {
  MouseEventType type = MouseEventType::mouseMoved;
  Point position;
  MouseButton button = MouseButton::left;

  [[nodiscard]] bool isPress() const {
    return type == MouseEventType::leftMouseDown || type == MouseEventType::rightMouseDown ||
           type == MouseEventType::otherMouseDown;
  }
  [[nodiscard]] bool isRelease() const {
    return type == MouseEventType::leftMouseUp || type == MouseEventType::rightMouseUp ||
           type == MouseEventType::otherMouseUp;
  }
};

struct ScrollRecord {
  std::int32_t up = 0;  // pixels
  std::int32_t left = 0;
};

struct KeyRecord {
  std::uint16_t virtualKey = 0;
  bool isDown = false;
};

// Applications count clicks and know the modifiers by themselves, from the buttons and keys that
// they see, so an event has nothing that could be set.
class LinuxInputEvent final : public InputEvent {
 public:
  using Record = std::variant<MouseRecord, ScrollRecord, KeyRecord>;

  explicit LinuxInputEvent(Record record) : record(record) {}

  void setIntegerValueField(EventField /*field*/, std::int64_t /*value*/) override {}
  void setFlags(EventFlags /*flags*/) override {}

  const Record record;
};

}  // namespace quorvin
