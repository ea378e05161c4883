#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Runner/RemoteInputController.h"
#include "platform/Error.h"
#include "tests/fakes/FakeInputEvents.h"

namespace quorvin {

using fakes::FakeInputEvent;
using Content = FakeInputEvent::Content;

inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();
inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr std::int64_t integerMax = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t integerMin = std::numeric_limits<std::int64_t>::min();

inline Map mouse(const std::string& action, Value x, Value y) {
  return {{"action", action}, {"x", std::move(x)}, {"y", std::move(y)}};
}

inline Map button(const std::string& action, Value name) {
  auto event = mouse(action, 0, 0);
  event.append("button", std::move(name));
  return event;
}

inline Map clicks(const std::string& action, Value count) {
  auto event = mouse(action, 0, 0);
  event.append("clickCount", std::move(count));
  return event;
}

inline Map scroll(Value dx, Value dy) {
  return {{"action", "scroll"}, {"dx", std::move(dx)}, {"dy", std::move(dy)}};
}

inline Map key(const std::string& action, Value code) {
  return {{"action", action}, {"keyCode", std::move(code)}};
}

inline Content mouseEvent(MouseEventType type, Point position, MouseButton number,
                          std::optional<std::int64_t> clickState, EventFlags flags = 0) {
  return {.kind = FakeInputEvent::Kind::mouse,
          .type = type,
          .position = position,
          .button = number,
          .clickState = clickState,
          .flags = flags};
}

inline Content scrollEvent(std::int32_t vertical, std::int32_t horizontal, EventFlags flags = 0) {
  return {.kind = FakeInputEvent::Kind::scroll,
          .units = ScrollEventUnit::pixel,
          .wheelCount = 2,
          .wheel1 = vertical,
          .wheel2 = horizontal,
          .wheel3 = 0,
          .flags = flags};
}

inline Content keyEvent(std::uint16_t code, bool down, EventFlags flags = 0) {
  return {
      .kind = FakeInputEvent::Kind::keyboard, .virtualKey = code, .keyDown = down, .flags = flags};
}

// A controller on a recording fake and a display of 1920 x 1080 points.
class RemoteInputControllerTest : public testing::Test {
 protected:
  ~RemoteInputControllerTest() override { controller.releaseAll(); }

  RemoteInputController makeController() {
    return {system, [this] {
              ++boundsAsked;
              return bounds;
            }};
  }

  // What the last call posted.
  std::vector<Content> apply(const Map& event) {
    system.posted.clear();
    controller.apply(event);
    return system.posted;
  }
  std::vector<Content> releaseAll() {
    system.posted.clear();
    controller.releaseAll();
    return system.posted;
  }

  // The event is refused with the one error, and neither the system nor the controller notices.
  void expectRefused(const Map& event) {
    const auto buttonsBefore = controller.heldButtons();
    const auto keysBefore = controller.heldKeys();
    const auto clicksBefore = controller.clickCounts();
    const auto pointerBefore = controller.pointer();
    const auto eventsBefore = system.eventsAsked;
    try {
      controller.apply(event);
      ADD_FAILURE() << "was accepted";
    } catch (const Error& error) {
      EXPECT_EQ(error, Error("com.quorvin.support.input", 1, "Invalid remote input."));
    }
    EXPECT_EQ(controller.heldButtons(), buttonsBefore);
    EXPECT_EQ(controller.heldKeys(), keysBefore);
    EXPECT_EQ(controller.clickCounts(), clicksBefore);
    EXPECT_EQ(controller.pointer(), pointerBefore);
    EXPECT_EQ(system.eventsAsked, eventsBefore);
  }

  fakes::FakeInputEvents system;
  std::optional<Rect> bounds = Rect{{0, 0}, {1920, 1080}};
  int boundsAsked = 0;
  RemoteInputController controller = makeController();
};

}  // namespace quorvin
