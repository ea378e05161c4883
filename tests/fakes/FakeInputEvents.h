#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "platform/InputEvents.h"

namespace quorvin::fakes {

class FakeEventSource final : public EventSource {};

// An event as it was made, and what was set on it.
class FakeInputEvent final : public InputEvent {
 public:
  enum class Kind { mouse, scroll, keyboard };
  struct Content {
    Kind kind = Kind::mouse;
    MouseEventType type = MouseEventType::mouseMoved;
    Point position = {};
    MouseButton button = MouseButton::left;
    ScrollEventUnit units = ScrollEventUnit::pixel;
    std::uint32_t wheelCount = 0;
    std::int32_t wheel1 = 0;
    std::int32_t wheel2 = 0;
    std::int32_t wheel3 = 0;
    std::uint16_t virtualKey = 0;
    bool keyDown = false;
    std::optional<std::int64_t> clickState = std::nullopt;
    std::optional<EventFlags> flags = std::nullopt;

    friend bool operator==(const Content&, const Content&) = default;
    friend void PrintTo(const Content& content, std::ostream* out);
  };

  FakeInputEvent(Content content, std::shared_ptr<EventSource> source)
      : content(content), source(std::move(source)) {}

  void setIntegerValueField(EventField /*field*/, std::int64_t value) override {
    content.clickState = value;
  }
  void setFlags(EventFlags flags) override { content.flags = flags; }

  Content content;
  std::shared_ptr<EventSource> source;
};

inline void PrintTo(const FakeInputEvent::Content& content, std::ostream* out) {
  switch (content.kind) {
    case FakeInputEvent::Kind::mouse:
      *out << "mouse event " << static_cast<int>(content.type) << " at (" << content.position.x
           << ", " << content.position.y << ") button " << static_cast<int>(content.button);
      break;
    case FakeInputEvent::Kind::scroll:
      *out << "scroll event of " << content.wheelCount << " wheels: " << content.wheel1 << ", "
           << content.wheel2 << ", " << content.wheel3;
      break;
    case FakeInputEvent::Kind::keyboard:
      *out << (content.keyDown ? "key-down " : "key-up ") << content.virtualKey;
      break;
  }
  if (content.clickState) *out << " click state " << *content.clickState;
  if (content.flags) *out << " flags " << std::hex << *content.flags << std::dec;
}

// Keeps every event that is posted, and fails where the test says so.
class FakeInputEvents final : public InputEvents {
 public:
  std::vector<EventSourceState> sourcesAsked;
  bool makesSources = true;
  std::shared_ptr<EventSource> source;  // the one made last

  bool makesEvents = true;
  std::size_t eventsAsked = 0;

  std::vector<FakeInputEvent::Content> posted;
  std::vector<std::shared_ptr<EventSource>> postedSources;  // of the posted events, in order
  std::vector<EventTapLocation> taps;                       // likewise

  struct Display {
    bool isActive = true;
    Rect bounds;
  };
  std::map<DisplayID, Display> displays;
  std::vector<std::string> displayQuestions;

  std::shared_ptr<EventSource> createSource(EventSourceState state) override {
    sourcesAsked.push_back(state);
    if (!makesSources) return nullptr;
    source = std::make_shared<FakeEventSource>();
    return source;
  }
  std::shared_ptr<InputEvent> createMouseEvent(const std::shared_ptr<EventSource>& from,
                                               MouseEventType type, Point position,
                                               MouseButton button) override {
    return make(
        {.kind = FakeInputEvent::Kind::mouse, .type = type, .position = position, .button = button},
        from);
  }
  std::shared_ptr<InputEvent> createScrollWheelEvent(const std::shared_ptr<EventSource>& from,
                                                     ScrollEventUnit units,
                                                     std::uint32_t wheelCount, std::int32_t wheel1,
                                                     std::int32_t wheel2,
                                                     std::int32_t wheel3) override {
    return make({.kind = FakeInputEvent::Kind::scroll,
                 .units = units,
                 .wheelCount = wheelCount,
                 .wheel1 = wheel1,
                 .wheel2 = wheel2,
                 .wheel3 = wheel3},
                from);
  }
  std::shared_ptr<InputEvent> createKeyboardEvent(const std::shared_ptr<EventSource>& from,
                                                  std::uint16_t virtualKey, bool keyDown) override {
    return make(
        {.kind = FakeInputEvent::Kind::keyboard, .virtualKey = virtualKey, .keyDown = keyDown},
        from);
  }
  void post(EventTapLocation tap, const std::shared_ptr<InputEvent>& event) override {
    const auto& made = dynamic_cast<const FakeInputEvent&>(*event);
    posted.push_back(made.content);
    postedSources.push_back(made.source);
    taps.push_back(tap);
  }
  bool displayIsActive(DisplayID display) override {
    displayQuestions.push_back("active " + std::to_string(display));
    const auto found = displays.find(display);
    return found != displays.end() && found->second.isActive;
  }
  Rect displayBounds(DisplayID display) override {
    displayQuestions.push_back("bounds " + std::to_string(display));
    const auto found = displays.find(display);
    return found != displays.end() ? found->second.bounds : Rect();
  }

 private:
  std::shared_ptr<InputEvent> make(const FakeInputEvent::Content& content,
                                   const std::shared_ptr<EventSource>& from) {
    ++eventsAsked;
    return makesEvents ? std::make_shared<FakeInputEvent>(content, from) : nullptr;
  }
};

}  // namespace quorvin::fakes
