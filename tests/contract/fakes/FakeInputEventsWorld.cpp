#include <memory>

#include "tests/contract/InputEventsContract.h"
#include "tests/fakes/FakeInputEvents.h"

namespace quorvin::contract {
namespace {

// A system whose programs see exactly what was posted.
class FakeInputEventsWorld final : public InputEventsWorld {
 public:
  InputEvents& inputEvents() override { return fake; }

  SeenInput takeSeen() override {
    SeenInput seen;
    for (const auto& content : fake.posted) add(content, seen);
    fake.posted.clear();
    seen.pointer = pointer;
    return seen;
  }

  DisplayID connectDisplay(const Rect& bounds) override {
    fake.displays[++lastDisplay] = {.isActive = true, .bounds = bounds};
    return lastDisplay;
  }
  void moveDisplay(DisplayID display, const Rect& bounds) override {
    fake.displays.at(display).bounds = bounds;
  }
  void disconnectDisplay(DisplayID display) override { fake.displays.erase(display); }

 private:
  using Content = fakes::FakeInputEvent::Content;

  void add(const Content& content, SeenInput& seen) {
    switch (content.kind) {
      case fakes::FakeInputEvent::Kind::mouse:
        pointer = content.position;
        addButton(content, seen);
        break;
      case fakes::FakeInputEvent::Kind::scroll:
        seen.scrolledUp += content.wheel1;
        seen.scrolledLeft += content.wheel2;
        break;
      case fakes::FakeInputEvent::Kind::keyboard:
        (content.keyDown ? seen.keysPressed : seen.keysReleased).push_back(content.virtualKey);
        break;
    }
  }
  static void addButton(const Content& content, SeenInput& seen) {
    switch (content.type) {
      case MouseEventType::leftMouseDown:
      case MouseEventType::rightMouseDown:
      case MouseEventType::otherMouseDown:
        seen.buttonsPressed.push_back(content.button);
        break;
      case MouseEventType::leftMouseUp:
      case MouseEventType::rightMouseUp:
      case MouseEventType::otherMouseUp:
        seen.buttonsReleased.push_back(content.button);
        break;
      default:
        break;
    }
  }

  fakes::FakeInputEvents fake;
  Point pointer;
  DisplayID lastDisplay = 0;
};

const auto fakeInput =
    testing::Values(WorldKind<InputEventsWorld>{"Variables", [] {
                                                  return std::make_unique<FakeInputEventsWorld>();
                                                }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, InputEventsContract, fakeInput, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, PixelScrollContract, fakeInput, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, NegativeDisplayContract, fakeInput, nameOfWorld);

}  // namespace quorvin::contract
