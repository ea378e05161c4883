#include "platform/linux/input/PointerInjector.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace quorvin {

std::int32_t WheelClicks::add(std::int32_t pixels) {
  remainder += std::clamp(pixels, -maximumDistance, maximumDistance);
  const std::int32_t clicks = remainder / pixelsPerWheelClick;
  remainder -= clicks * pixelsPerWheelClick;
  return clicks;
}

namespace {

// As X programs know them.
constexpr std::uint8_t leftButton = 1;
constexpr std::uint8_t centerButton = 2;
constexpr std::uint8_t rightButton = 3;
constexpr std::uint8_t wheelUp = 4;
constexpr std::uint8_t wheelDown = 5;
constexpr std::uint8_t wheelLeft = 6;
constexpr std::uint8_t wheelRight = 7;

std::uint8_t numberOf(MouseButton button) {
  switch (button) {
    case MouseButton::right:
      return rightButton;
    case MouseButton::center:
      return centerButton;
    case MouseButton::left:
      break;
  }
  return leftButton;
}

// The first and the last pixel of a display are at whole coordinates, so that nothing between them
// is rounded beyond them. The server keeps the rest on the screen.
std::int16_t pixel(double coordinate) {
  using Limits = std::numeric_limits<std::int16_t>;
  const double whole = std::round(coordinate);
  return static_cast<std::int16_t>(std::clamp<double>(whole, Limits::min(), Limits::max()));
}

}  // namespace

void PointerInjector::post(const MouseRecord& record) {
  writer.move(pixel(record.position.x), pixel(record.position.y));
  if (record.isPress()) press(numberOf(record.button));
  writer.flush();
  if (record.isRelease()) release(numberOf(record.button));
}

void PointerInjector::post(const ScrollRecord& record) {
  click(vertical.add(record.up), wheelUp, wheelDown);
  click(horizontal.add(record.left), wheelLeft, wheelRight);
  writer.flush();
}

void PointerInjector::releaseAll() {
  while (!buttons.empty()) release(*buttons.begin());
}

void PointerInjector::takeOver(std::set<std::uint8_t> pending) {
  buttons = std::move(pending);
  releaseAll();
}

void PointerInjector::press(std::uint8_t button) {
  if (!journal.willPressButton(button)) return;
  buttons.insert(button);
  writer.button(button, true);
}

// Of a button that is not held the person at the machine may be holding its like.
void PointerInjector::release(std::uint8_t button) {
  if (buttons.erase(button) == 0) return;
  writer.button(button, false);
  writer.flush();
}

// A click of the wheel is a press and a release of a button of its own. It needs no journal, since
// both reach the server together.
void PointerInjector::click(std::int32_t clicks, std::uint8_t forwards, std::uint8_t backwards) {
  const std::uint8_t button = clicks > 0 ? forwards : backwards;
  for (std::int32_t made = 0; made < std::abs(clicks); ++made) {
    writer.button(button, true);
    writer.button(button, false);
  }
}

}  // namespace quorvin
