#pragma once

#import <CoreGraphics/CGEvent.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <variant>
#include <vector>

namespace standin {

// Any thread.

struct MouseEvent {
  CGEventType type = kCGEventMouseMoved;
  double x = 0;
  double y = 0;
  CGMouseButton button = kCGMouseButtonLeft;

  friend bool operator==(const MouseEvent&, const MouseEvent&) = default;
};

struct ScrollEvent {
  CGScrollEventUnit units = kCGScrollEventUnitPixel;
  std::vector<std::int32_t> wheels;  // as many as the event has

  friend bool operator==(const ScrollEvent&, const ScrollEvent&) = default;
};

struct KeyEvent {
  CGKeyCode virtualKey = 0;
  bool isDown = false;

  friend bool operator==(const KeyEvent&, const KeyEvent&) = default;
};

using EventContent = std::variant<MouseEvent, ScrollEvent, KeyEvent>;

// An event as it stood when it was posted.
struct PostedEvent {
  EventContent content;
  std::map<CGEventField, std::int64_t> fields = {};  // those that were set
  std::optional<CGEventFlags> flags = {};            // unless they were left as they are made
  // State of the source that the event was made with, if there was one.
  std::optional<CGEventSourceStateID> source = kCGEventSourceStateCombinedSessionState;
  CGEventTapLocation tap = kCGSessionEventTap;

  friend bool operator==(const PostedEvent&, const PostedEvent&) = default;
};
void PrintTo(const PostedEvent& event, std::ostream* out);

// All since the last call of this, oldest first.
[[nodiscard]] std::vector<PostedEvent> takePostedEvents();

enum class EventCreation { source, mouse, scrollWheel, keyboard };
// The next so many creations of this kind give nothing.
void failNext(EventCreation creation, std::size_t times = 1);

// What an event's flags are until they are set; none after a reset.
inline std::atomic<CGEventFlags> flagsOfNewEvents = 0;

// Sources and events that have not been released.
[[nodiscard]] std::size_t liveEventObjects();

}  // namespace standin
