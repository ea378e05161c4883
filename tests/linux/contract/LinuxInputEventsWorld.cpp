#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/capture/ScreenCapture.h"
#include "platform/linux/input/InputEvents.h"
#include "platform/linux/input/KeyMeaning.h"
#include "platform/linux/input/PointerInjector.h"
#include "tests/contract/InputEventsContract.h"
#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/input/InputWatcher.h"
#include "tests/linux/input/JournalRecord.h"
#include "tests/linux/system/XServer.h"

namespace quorvin::contract {
namespace {

// An X server with a US keyboard, on which a key types what it is called.
class LinuxInputEventsWorld final : public InputEventsWorld {
 public:
  InputEvents& inputEvents() override { return events; }

  SeenInput takeSeen() override {
    SeenInput seen;
    events.sync();
    for (const auto& event : watcher.take()) add(event, seen);
    seen.pointer = watcher.pointer();
    return seen;
  }

  DisplayID connectDisplay(const Rect& bounds) override {
    const std::string name = "monitor" + std::to_string(names.size());
    painter.defineMonitor(name, pixels(bounds));
    const DisplayID display = painter.monitorNamed(name);
    names[display] = name;
    events.sync();
    return display;
  }
  void moveDisplay(DisplayID display, const Rect& bounds) override {
    painter.deleteMonitor(names.at(display));
    painter.defineMonitor(names.at(display), pixels(bounds));
    events.sync();
  }
  void disconnectDisplay(DisplayID display) override {
    painter.deleteMonitor(names.at(display));
    events.sync();
  }

 private:
  static PixelRect pixels(const Rect& bounds) {
    return {static_cast<int>(bounds.origin.x), static_cast<int>(bounds.origin.y),
            static_cast<int>(bounds.size.width), static_cast<int>(bounds.size.height)};
  }

  static void add(const SeenEvent& event, SeenInput& seen) {
    switch (event.kind) {
      case SeenEvent::Kind::keyDown:
        seen.keysPressed.push_back(keyAt(event.detail));
        break;
      case SeenEvent::Kind::keyUp:
        seen.keysReleased.push_back(keyAt(event.detail));
        break;
      case SeenEvent::Kind::buttonDown:
        addPress(event.detail, seen);
        break;
      case SeenEvent::Kind::buttonUp:
        if (const auto button = mouseButton(event.detail)) seen.buttonsReleased.push_back(*button);
        break;
      case SeenEvent::Kind::motion:
        break;
    }
  }
  static void addPress(std::uint8_t number, SeenInput& seen) {
    if (const auto button = mouseButton(number)) seen.buttonsPressed.push_back(*button);
    if (number == 4) seen.scrolledUp += pixelsPerWheelClick;
    if (number == 5) seen.scrolledUp -= pixelsPerWheelClick;
    if (number == 6) seen.scrolledLeft += pixelsPerWheelClick;
    if (number == 7) seen.scrolledLeft -= pixelsPerWheelClick;
  }
  static std::optional<MouseButton> mouseButton(std::uint8_t number) {
    if (number == 1) return MouseButton::left;
    if (number == 2) return MouseButton::center;
    if (number == 3) return MouseButton::right;
    return {};
  }
  static std::uint16_t keyAt(std::uint8_t keycode) {
    for (const auto& row : keyTable()) {
      if (row.evdevCode + 8 == keycode) return row.virtualKey;
    }
    return 0xFFFF;
  }

  XServer server{{"-screen", "0", "640x480x24", "-noreset"}};
  ScreenPainter painter{server.display()};
  InputWatcher watcher{server.display()};
  JournalRecord journal;
  LinuxInputEvents events{server.display(), journal};
  std::map<DisplayID, std::string> names;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, InputEventsContract,
                         testing::Values(WorldKind<InputEventsWorld>{
                             "X11",
                             [] {
                               return std::make_unique<LinuxInputEventsWorld>();
                             }}),
                         nameOfWorld);
// What XTEST speaks for scrolls by whole clicks of the wheel.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PixelScrollContract);
// The root window begins at the origin.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NegativeDisplayContract);

}  // namespace quorvin::contract
