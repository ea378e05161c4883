#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Runner/RemoteInputController.h"
#include "platform/Error.h"
#include "tests/fakes/FakeInputEvents.h"
#include "tests/simulation/Seeds.h"

namespace quorvin::simulation {
namespace {

using fakes::FakeInputEvent;

constexpr int eventsPerRun = 100;
constexpr unsigned releaseOneIn = 40;

// Event maps from well-formed to hostile. Each field is drawn by itself, so that every mixture of
// good and bad fields comes up.
class EventSupply {
 public:
  explicit EventSupply(std::uint64_t seed) : random(seed) {}

  Map next() {
    Map event;
    if (chance(50)) return event;
    if (!chance(100)) event.append("action", action());
    if (!chance(100)) event.append("x", place());
    if (!chance(100)) event.append("y", place());
    if (chance(2)) event.append("button", button());
    if (chance(2)) event.append("clickCount", clickCount());
    if (!chance(100)) event.append("dx", delta());
    if (!chance(100)) event.append("dy", delta());
    if (!chance(100)) event.append("keyCode", keyCode());
    if (chance(20)) event.append(anything(), anything());
    return event;
  }
  bool chance(unsigned oneIn) { return random() % oneIn == 0; }

 private:
  double real(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  }
  template <std::size_t count>
  Value oneOf(const std::array<Value, count>& values) {
    return values[random() % count];
  }

  Value action() {
    static const std::array<Value, 6> good = {"mouseMove", "mouseDown", "mouseUp",
                                              "scroll",    "keyDown",   "keyUp"};
    static const std::array<Value, 4> bad = {"MouseMove", "", "keyPress", "mouseDown\0"};
    if (chance(40)) return anything();
    return chance(40) ? oneOf(bad) : oneOf(good);
  }
  Value place() {
    static const std::array<Value, 6> edges = {0, 1, 0.0, 1.0, -0.0, 0.5};
    static const std::array<Value, 4> bad = {1.0000001, -0.0000001, 2, -1};
    if (chance(60)) return anything();
    if (chance(60)) return oneOf(bad);
    return chance(4) ? oneOf(edges) : Value(real(0, 1));
  }
  Value button() {
    static const std::array<Value, 3> good = {"left", "right", "middle"};
    static const std::array<Value, 3> bad = {"center", "", "LEFT"};
    if (chance(30)) return anything();
    return chance(20) ? oneOf(bad) : oneOf(good);
  }
  Value clickCount() {
    static const std::array<Value, 5> good = {1, 2, 3, 1.9, 3.5};
    static const std::array<Value, 5> bad = {0, 4, -1, 0.9, 4.0};
    if (chance(30)) return anything();
    return chance(20) ? oneOf(bad) : oneOf(good);
  }
  Value delta() {
    static const std::array<Value, 6> edges = {10000, -10000, 0.5, -0.5, 2.5, 0};
    static const std::array<Value, 3> bad = {10000.001, -10001, 1e9};
    if (chance(40)) return anything();
    if (chance(40)) return oneOf(bad);
    return chance(4) ? oneOf(edges) : Value(real(-10000, 10000));
  }
  Value keyCode() {
    static const std::array<Value, 4> bad = {128, -1, 1.5, 1000};
    // Mostly few keys, modifiers among them, so that the same ones meet again.
    static const std::array<Value, 12> common = {0, 12, 54, 55.0, 56, 57, 58, 59, 60, 61, 62, 127};
    if (chance(40)) return anything();
    if (chance(40)) return oneOf(bad);
    return chance(3) ? Value(static_cast<std::int64_t>(random() % 128)) : oneOf(common);
  }
  Value anything() {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    static const std::array<Value, 20> values = {Value(),
                                                 true,
                                                 false,
                                                 "",
                                                 "0",
                                                 "left",
                                                 std::numeric_limits<double>::quiet_NaN(),
                                                 infinity,
                                                 -infinity,
                                                 1e300,
                                                 std::numeric_limits<double>::denorm_min(),
                                                 std::numeric_limits<std::int64_t>::max(),
                                                 std::numeric_limits<std::int64_t>::min(),
                                                 List{},
                                                 List{1, List{2}},
                                                 Map{},
                                                 Map{{"action", "keyDown"}, {"keyCode", 1}},
                                                 Data(Bytes{1}),
                                                 std::vector<std::int32_t>{1},
                                                 std::vector<double>{0.5}};
    return oneOf(values);
  }

  std::mt19937_64 random;
};

// What an event ought to do, told apart from how the controller tells it.
struct Expectation {
  std::string action;
  std::string button = "left";
  std::int64_t keyCode = 0;
};

std::optional<double> numberIn(const Map& event, const char* key) {
  const auto* value = event.find(key);
  if (value == nullptr) return std::nullopt;
  if (const auto* integer = value->as<std::int64_t>()) return static_cast<double>(*integer);
  if (const auto* number = value->as<double>()) return *number;
  return std::nullopt;
}

bool isWithin(std::optional<double> number, double low, double high) {
  return number && std::isfinite(*number) && *number >= low && *number <= high;
}

bool isGoodMouseEvent(const Map& event, std::string& button) {
  if (const auto* value = event.find("button"); value != nullptr) {
    if (const auto* name = value->as<std::string>()) button = *name;
  }
  const auto count = numberIn(event, "clickCount");
  const bool countIsGood = !count || (isWithin(count, -1e15, 1e15) && std::trunc(*count) >= 1 &&
                                      std::trunc(*count) <= 3);
  return isWithin(numberIn(event, "x"), 0, 1) && isWithin(numberIn(event, "y"), 0, 1) &&
         countIsGood && (button == "left" || button == "right" || button == "middle");
}

// Empty when the event ought to be refused.
std::optional<Expectation> expectationOf(const Map& event) {
  const auto* value = event.find("action");
  const auto* action = value == nullptr ? nullptr : value->as<std::string>();
  if (action == nullptr) return std::nullopt;
  Expectation expected{.action = *action};
  if (*action == "scroll") {
    const bool isGood = isWithin(numberIn(event, "dx"), -10000, 10000) &&
                        isWithin(numberIn(event, "dy"), -10000, 10000);
    return isGood ? std::optional(expected) : std::nullopt;
  }
  if (*action == "keyDown" || *action == "keyUp") {
    const auto code = numberIn(event, "keyCode");
    if (!isWithin(code, 0, 127) || std::floor(*code) != *code) return std::nullopt;
    expected.keyCode = std::lround(*code);
    return expected;
  }
  const bool isMouse = *action == "mouseMove" || *action == "mouseDown" || *action == "mouseUp";
  if (!isMouse || !isGoodMouseEvent(event, expected.button)) return std::nullopt;
  return expected;
}

EventFlags flagsOf(const std::set<std::int64_t>& keys) {
  EventFlags flags = 0;
  for (const auto key : keys) {
    if (key == 56 || key == 60) flags |= 0x20000U;
    if (key == 59 || key == 62) flags |= 0x40000U;
    if (key == 58 || key == 61) flags |= 0x80000U;
    if (key == 54 || key == 55) flags |= 0x100000U;
  }
  return flags;
}

// A controller under random events, and what was pressed and not released by them.
class RemoteInputWorld {
 public:
  explicit RemoteInputWorld(std::uint64_t seed) : supply(seed) {}

  Outcome run() {
    for (int i = 0; i < eventsPerRun && outcome.failure.empty(); ++i) {
      apply(supply.next());
      if (supply.chance(releaseOneIn)) releaseAll();
    }
    releaseAll();
    return outcome;
  }

 private:
  void apply(const Map& event) {
    const auto expected = expectationOf(event);
    const auto pointerBefore = controller.pointer();
    const auto clicksBefore = controller.clickCounts();
    const bool accepted = tryToApply(event);
    outcome.trace.push_back(accepted ? expected.value_or(Expectation{}).action : "refused");
    expect(accepted == expected.has_value(), "only good events are accepted, and all of them");
    if (accepted && expected) {
      follow(*expected);
      expect(system.posted.size() == 1, "an accepted event is posted once");
      expect(!system.posted.empty() && system.posted.back().flags == flagsOf(keys),
             "flags follow the held keys");
    } else {
      expect(system.posted.empty(), "a refused event posts nothing");
      expect(controller.pointer() == pointerBefore && controller.clickCounts() == clicksBefore,
             "a refused event changes nothing");
    }
    expectHeld();
    system.posted.clear();
  }

  bool tryToApply(const Map& event) {
    try {
      controller.apply(event);
      return true;
    } catch (const Error&) {
      return false;
    }
  }

  void releaseAll() {
    outcome.trace.emplace_back("release all");
    const auto held = buttons.size() + keys.size();
    controller.releaseAll();
    expect(system.posted.size() == held, "all that is held is released, each once");
    expect(keys.empty() || (!system.posted.empty() && system.posted.back().flags == 0),
           "no modifier is held after the last key");
    buttons.clear();
    keys.clear();
    expectHeld();
    system.posted.clear();
  }

  void follow(const Expectation& expected) {
    if (expected.action == "mouseDown") buttons.insert(expected.button);
    if (expected.action == "mouseUp") buttons.erase(expected.button);
    if (expected.action == "keyDown") keys.insert(expected.keyCode);
    if (expected.action == "keyUp") keys.erase(expected.keyCode);
  }

  void expectHeld() {
    expect(controller.heldButtons() == buttons && controller.heldKeys() == keys,
           "what is held is what was pressed and not released");
    expect(std::ranges::equal(controller.clickCounts(), buttons, {},
                              [](const auto& entry) { return entry.first; }),
           "every held button has its click count, and no other");
  }

  void expect(bool isKept, const char* promise) {
    if (!isKept && outcome.failure.empty()) outcome.failure = promise;
  }

  EventSupply supply;
  fakes::FakeInputEvents system;
  RemoteInputController controller{system, [] {
                                     return Rect{{-100, 50}, {1920, 1080}};
                                   }};
  std::set<std::string> buttons;
  std::set<std::int64_t> keys;
  Outcome outcome;
};

Outcome runInput(std::uint64_t seed) {
  return RemoteInputWorld(seed).run();
}

// With the usual 10,000 seeds, a million events.
TEST(RemoteInputSimulation, KeepsItsPromisesUnderRandomEvents) {
  runSeeds(runInput);
}

// Both kinds have to come up in numbers, or the promises were not put to the test.
TEST(RemoteInputSimulation, AcceptsAndRefusesEventsOfEveryKind) {
  std::map<std::string, int> seen;
  for (std::uint64_t seed = 1; seed <= 100; ++seed) {
    for (const auto& line : runInput(seed).trace) ++seen[line];
  }
  for (const auto* line : {"mouseMove", "mouseDown", "mouseUp", "scroll", "keyDown", "keyUp",
                           "refused", "release all"}) {
    EXPECT_GT(seen[line], 100) << line;
  }
}

}  // namespace
}  // namespace quorvin::simulation
