#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/InputEvents.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

// What reached the system's programs.
struct SeenInput {
  Point pointer;  // where it is now
  std::vector<MouseButton> buttonsPressed;
  std::vector<MouseButton> buttonsReleased;
  std::vector<std::uint16_t> keysPressed;  // virtual key codes of macOS; a repeat is one more press
  std::vector<std::uint16_t> keysReleased;
  std::int64_t scrolledUp = 0;  // pixels
  std::int64_t scrolledLeft = 0;
};

// A system with a mouse, a keyboard and displays, and a program that looks on.
class InputEventsWorld {
 public:
  InputEventsWorld() = default;
  InputEventsWorld(const InputEventsWorld&) = delete;
  InputEventsWorld& operator=(const InputEventsWorld&) = delete;
  virtual ~InputEventsWorld() = default;

  virtual InputEvents& inputEvents() = 0;

  // What happened since the last call, once the system has dealt with everything that was posted.
  virtual SeenInput takeSeen() = 0;

  // Displays lie within 640 x 480 points from the origin of the global space. There is none until
  // one is connected.
  virtual DisplayID connectDisplay(const Rect& bounds) = 0;
  virtual void moveDisplay(DisplayID display, const Rect& bounds) = 0;
  virtual void disconnectDisplay(DisplayID display) = 0;
};

class InputEventsContract : public Contract<InputEventsWorld> {
 protected:
  InputEvents& inputEvents() { return world->inputEvents(); }
  void SetUp() override { source = inputEvents().createSource(EventSourceState::combinedSession); }

  // Each of these makes an event as the callers of the interface do, and posts it.
  void mouse(MouseEventType type, Point position, MouseButton button = MouseButton::left);
  void scroll(std::int32_t up, std::int32_t left);
  void key(std::uint16_t virtualKey, bool isDown);
  void post(const std::shared_ptr<InputEvent>& event);

  std::shared_ptr<EventSource> source;
  EventFlags flags = 0;
};

// Systems that show a program how far somebody scrolled to the pixel.
class PixelScrollContract : public InputEventsContract {};

// Systems whose global space goes on to the left of and above its origin.
class NegativeDisplayContract : public InputEventsContract {};

}  // namespace quorvin::contract
