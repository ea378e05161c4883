#include "Runner/RemoteInputController.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <string_view>
#include <utility>

#include "platform/Error.h"

namespace quorvin {

namespace {

constexpr double scrollDeltaMax = 10'000;
constexpr std::int64_t keyCodeMax = 127;
constexpr std::int64_t clickCountMax = 3;

struct ButtonEvents {
  std::string_view name;
  MouseButton number;
  MouseEventType down;
  MouseEventType up;
  MouseEventType dragged;
};

// In the order in which a held button gives its name to a drag.
constexpr std::array<ButtonEvents, 3> buttonEvents = {{
    {"left", MouseButton::left, MouseEventType::leftMouseDown, MouseEventType::leftMouseUp,
     MouseEventType::leftMouseDragged},
    {"right", MouseButton::right, MouseEventType::rightMouseDown, MouseEventType::rightMouseUp,
     MouseEventType::rightMouseDragged},
    {"middle", MouseButton::center, MouseEventType::otherMouseDown, MouseEventType::otherMouseUp,
     MouseEventType::otherMouseDragged},
}};

// Of each modifier the left and the right key (kVK_* of HIToolbox, Events.h).
struct Modifier {
  EventFlags flag;
  std::int64_t leftKey;
  std::int64_t rightKey;
};
constexpr std::array<Modifier, 4> modifiers = {{
    {eventFlagMaskShift, 56, 60},
    {eventFlagMaskControl, 59, 62},
    {eventFlagMaskAlternate, 58, 61},
    {eventFlagMaskCommand, 55, 54},
}};

Error invalid() {
  return {"com.quorvin.support.input", 1, "Invalid remote input."};
}

const ButtonEvents* eventsOf(std::string_view button) {
  const auto* const found = std::ranges::find(buttonEvents, button, &ButtonEvents::name);
  return found != buttonEvents.end() ? found : nullptr;
}

std::optional<double> numberOf(const Value* value) {
  if (value == nullptr) return std::nullopt;
  if (const auto* integer = value->as<std::int64_t>()) return static_cast<double>(*integer);
  if (const auto* number = value->as<double>()) return *number;
  return std::nullopt;
}

double requiredNumber(const Map& event, std::string_view key) {
  const auto number = numberOf(event.find(key));
  if (!number) throw invalid();
  return *number;
}

std::string buttonOf(const Map& event) {
  const auto* value = event.find("button");
  const auto* name = value == nullptr ? nullptr : value->as<std::string>();
  if (name == nullptr) return "left";
  if (eventsOf(*name) == nullptr) throw invalid();
  return *name;
}

std::int64_t clickCountOf(const Map& event) {
  const auto count = numberOf(event.find("clickCount"));
  if (!count) return 1;
  // A fraction is dropped. Compared before it is converted, for not every number fits.
  if (!(*count >= 1 && *count < static_cast<double>(clickCountMax + 1))) throw invalid();
  return static_cast<std::int64_t>(*count);
}

std::int32_t scrollDelta(double delta) {
  if (!(std::abs(delta) <= scrollDeltaMax)) throw invalid();  // not a number: refused as well
  return static_cast<std::int32_t>(std::round(delta));
}

std::int64_t keyCodeOf(const Map& event) {
  const double code = requiredNumber(event, "keyCode");
  if (!(code >= 0 && code <= static_cast<double>(keyCodeMax)) || code != std::trunc(code)) {
    throw invalid();
  }
  return static_cast<std::int64_t>(code);
}

}  // namespace

RemoteInputController::RemoteInputController(InputEvents& inputEvents, Bounds bounds)
    : RemoteInputController(inputEvents, std::move(bounds),
                            [&inputEvents](const std::shared_ptr<InputEvent>& event) {
                              inputEvents.post(EventTapLocation::session, event);
                            }) {}

RemoteInputController::RemoteInputController(InputEvents& inputEvents, Bounds bounds, Post post)
    : inputEvents(inputEvents),
      source(inputEvents.createSource(EventSourceState::combinedSession)),
      bounds(std::move(bounds)),
      post(std::move(post)) {}

RemoteInputController::~RemoteInputController() {
  assert(buttons.empty() && keys.empty());
}

void RemoteInputController::apply(const Map& event) {
  const auto* value = event.find("action");
  const auto* action = value == nullptr ? nullptr : value->as<std::string>();
  if (action == nullptr) throw invalid();
  if (*action == "mouseMove") {
    applyMouse(MouseAction::move, event);
  } else if (*action == "mouseDown") {
    applyMouse(MouseAction::down, event);
  } else if (*action == "mouseUp") {
    applyMouse(MouseAction::up, event);
  } else if (*action == "scroll") {
    applyScroll(event);
  } else if (*action == "keyDown" || *action == "keyUp") {
    applyKey(*action == "keyDown", event);
  } else {
    throw invalid();
  }
}

// Everything is read and judged, also what the action does not use, before anything changes.
void RemoteInputController::applyMouse(MouseAction action, const Map& event) {
  const auto display = bounds();
  if (!display) throw invalid();
  const double x = requiredNumber(event, "x");
  const double y = requiredNumber(event, "y");
  const auto position = point(x, y, *display);
  if (!position) throw invalid();
  auto button = buttonOf(event);
  const auto clickCount = clickCountOf(event);

  if (action == MouseAction::move) button = buttonOfMove();
  if (action == MouseAction::up) buttons.erase(button);
  if (action == MouseAction::down) {
    buttons.insert(button);
    clicks[button] = clickCount;
  }
  lastPoint = *position;
  postMouse(action, button);
  if (action == MouseAction::up) clicks.erase(button);
}

void RemoteInputController::postMouse(MouseAction action, const std::string& button) {
  const auto& events = *eventsOf(button);
  auto type = buttons.contains(button) ? events.dragged : MouseEventType::mouseMoved;
  if (action == MouseAction::down) type = events.down;
  if (action == MouseAction::up) type = events.up;
  const auto event = inputEvents.createMouseEvent(source, type, lastPoint, events.number);
  if (event == nullptr) return;
  const auto clickCount = clicks.find(button);
  event->setIntegerValueField(EventField::mouseEventClickState,
                              clickCount != clicks.end() ? clickCount->second : 1);
  event->setFlags(flags());
  post(event);
}

std::string RemoteInputController::buttonOfMove() const {
  for (const auto& events : buttonEvents) {
    std::string name(events.name);
    if (buttons.contains(name)) return name;
  }
  return "left";
}

void RemoteInputController::applyScroll(const Map& event) {
  const double dx = requiredNumber(event, "dx");
  const double dy = requiredNumber(event, "dy");
  const auto horizontal = scrollDelta(dx);
  const auto vertical = scrollDelta(dy);
  const auto scroll = inputEvents.createScrollWheelEvent(source, ScrollEventUnit::pixel, 2,
                                                         vertical, horizontal, 0);
  if (scroll == nullptr) return;
  scroll->setFlags(flags());
  post(scroll);
}

void RemoteInputController::applyKey(bool keyDown, const Map& event) {
  const auto keyCode = keyCodeOf(event);
  if (keyDown) {
    keys.insert(keyCode);
  } else {
    keys.erase(keyCode);
  }
  postKey(keyCode, keyDown);
}

void RemoteInputController::postKey(std::int64_t keyCode, bool keyDown) {
  const auto event =
      inputEvents.createKeyboardEvent(source, static_cast<std::uint16_t>(keyCode), keyDown);
  if (event == nullptr) return;
  event->setFlags(flags());
  post(event);
}

void RemoteInputController::releaseAll() {
  for (const auto& button : buttons) postButtonRelease(button);
  buttons.clear();
  clicks.clear();
  while (!keys.empty()) {
    // Let go before its event is made, which so carries the modifiers that are still held.
    const auto keyCode = *keys.begin();
    keys.erase(keys.begin());
    postKey(keyCode, false);
  }
}

void RemoteInputController::postButtonRelease(const std::string& button) {
  const auto& events = *eventsOf(button);
  const auto event = inputEvents.createMouseEvent(source, events.up, lastPoint, events.number);
  if (event == nullptr) return;
  event->setFlags(flags());
  post(event);
}

EventFlags RemoteInputController::flags() const {
  EventFlags all = 0;
  for (const auto& modifier : modifiers) {
    if (keys.contains(modifier.leftKey) || keys.contains(modifier.rightKey)) all |= modifier.flag;
  }
  return all;
}

std::optional<Point> RemoteInputController::point(double x, double y, const Rect& display) {
  const auto isOnDisplay = [](double place) {
    return place >= 0 && place <= 1;  // not so if it is not a number
  };
  if (!isOnDisplay(x) || !isOnDisplay(y)) return std::nullopt;
  const double width = std::abs(display.size.width);
  const double height = std::abs(display.size.height);
  if (!(width > 0 && height > 0)) return std::nullopt;
  const double minX = std::min(display.origin.x, display.origin.x + display.size.width);
  const double minY = std::min(display.origin.y, display.origin.y + display.size.height);
  // One is the last pixel, not the edge beyond it, which may belong to another display.
  return Point{minX + x * std::max(width - 1, 0.0), minY + y * std::max(height - 1, 0.0)};
}

}  // namespace quorvin
