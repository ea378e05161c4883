#import <CoreGraphics/CGDisplayControl.h>
#import <CoreGraphics/CGEventControl.h>
#import <CoreGraphics/CoreGraphicsControl.h>

#include <map>
#include <memory>

#include "platform/macos/InputEvents.h"
#include "tests/contract/InputEventsContract.h"

namespace quorvin::contract {
namespace {

// Reads posted events as a program's event loop does.
class Onlooker {
 public:
  explicit Onlooker(SeenInput& seen) : seen(seen) {}

  void operator()(const standin::MouseEvent& event) const {
    seen.pointer = {event.x, event.y};
    const auto button = static_cast<MouseButton>(event.button);
    switch (event.type) {
      case kCGEventLeftMouseDown:
      case kCGEventRightMouseDown:
      case kCGEventOtherMouseDown:
        seen.buttonsPressed.push_back(button);
        break;
      case kCGEventLeftMouseUp:
      case kCGEventRightMouseUp:
      case kCGEventOtherMouseUp:
        seen.buttonsReleased.push_back(button);
        break;
      default:
        break;
    }
  }
  void operator()(const standin::ScrollEvent& event) const {
    seen.scrolledUp += event.wheels.at(0);
    seen.scrolledLeft += event.wheels.at(1);
  }
  void operator()(const standin::KeyEvent& event) const {
    (event.isDown ? seen.keysPressed : seen.keysReleased).push_back(event.virtualKey);
  }

 private:
  SeenInput& seen;
};

class StandInInputEventsWorld final : public InputEventsWorld {
 public:
  ~StandInInputEventsWorld() override { standin::resetCoreGraphics(); }

  InputEvents& inputEvents() override { return macInputEvents; }

  SeenInput takeSeen() override {
    SeenInput seen;
    seen.pointer = pointer;
    for (const auto& event : standin::takePostedEvents()) {
      std::visit(Onlooker(seen), event.content);
    }
    pointer = seen.pointer;
    return seen;
  }

  DisplayID connectDisplay(const Rect& bounds) override {
    const auto display = static_cast<DisplayID>(displays.size() + 1);
    moveDisplay(display, bounds);
    return display;
  }
  void moveDisplay(DisplayID display, const Rect& bounds) override {
    displays[display] = {.x = bounds.origin.x,
                         .y = bounds.origin.y,
                         .width = bounds.size.width,
                         .height = bounds.size.height};
    standin::setDisplays(displays);
  }
  void disconnectDisplay(DisplayID display) override {
    displays.erase(display);
    standin::setDisplays(displays);
  }

 private:
  MacInputEvents macInputEvents;
  std::map<CGDirectDisplayID, standin::Display> displays;
  Point pointer;
};

const auto coreGraphics = testing::Values(WorldKind<InputEventsWorld>{
    "CoreGraphics", [] { return std::make_unique<StandInInputEventsWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, InputEventsContract, coreGraphics, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, PixelScrollContract, coreGraphics, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, NegativeDisplayContract, coreGraphics, nameOfWorld);

}  // namespace quorvin::contract
