#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "Runner/QuorvinScreenCapture.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/simulation/Seeds.h"

namespace quorvin::simulation {
namespace {

using fakes::FakeMachine;
using fakes::FakeSample;

constexpr std::uint64_t millisecond = 1'000'000;
constexpr int stepsPerRun = 80;

// One running capture under samples, stalls, a stop of the system and a stop of the owner, in any
// order, with a main thread that runs as it likes.
class CaptureWorld {
 public:
  explicit CaptureWorld(std::uint64_t seed) : machine(seed, /*randomLeeway=*/true) {
    capture = std::make_shared<QuorvinScreenCapture>(
        machine.platform, [this](const Error& error) { ended(error); },
        [this](const Data& frame) { received(frame); });
    queue = machine.dispatch.newestSerialQueue();
    capture->start([](const std::optional<Error>&) {});
    machine.dispatch.runUntilIdle();
    stream = machine.screenCapture.newestStream();
  }

  Outcome run() {
    for (int i = 0; i < stepsPerRun && outcome.failure.empty(); ++i) {
      step();
      check();
    }
    machine.dispatch.runUntilIdle();
    check();
    if (lastEncoded() != newestDelivered && !stoppedHere && stops == 0) {
      fail("the newest frame is delivered in the end");
    }
    return outcome;
  }

 private:
  void step() {
    const auto drawn = machine.dispatch.random(100);
    if (drawn < 45) {
      note("run");
      machine.dispatch.runOne();
    } else if (drawn < 80) {
      note("sample");
      stream->send(FakeSample::complete(++sent));
    } else if (drawn < 90) {
      note("time");
      machine.dispatch.advance(machine.dispatch.random(2500) * millisecond);
    } else if (drawn < 95) {
      note("settings");
      capture->configure({}, [](const std::optional<Error>&) {});
    } else if (drawn < 97) {
      note("system stop");
      stream->stopWithError({fakes::fakeStreamErrorDomain, -3821, "Stopped."});
    } else if (drawn < 98) {
      note("stop");
      capture->stop();
      stoppedHere = true;
    }
  }

  void check() {
    // Deliveries and nothing else come to the main queue from the capture's own queue here.
    if (machine.dispatch.mainThread().pendingFrom(queue.get()) > 1) {
      fail("at most one delivery is queued");
    }
    for (const auto& violation : machine.violations()) fail(violation);
  }

  void ended(const Error& error) {
    note("ended " + std::to_string(error.code));
    if (++stops > 1) fail("an end is reported at most once");
    if (stoppedHere) fail("a stop that was asked for is not reported");
  }

  void received(const Data& frame) {
    const auto content = fakes::FakeImageEncoder::contentOf(frame);
    note("frame " + std::to_string(content));
    if (stoppedHere || stops > 0) fail("no frame is delivered after the end");
    if (content <= newestDelivered) fail("a newer frame is never followed by an older one");
    if (content != lastEncoded()) fail("what is delivered is the newest there is");
    newestDelivered = content;
  }

  // Every sample here is encoded, in the order sent, as long as the capture lives.
  [[nodiscard]] std::uint32_t lastEncoded() const {
    return static_cast<std::uint32_t>(machine.imageEncoder.factors.size());
  }

  void note(const std::string& line) { outcome.trace.push_back(line); }
  void fail(const std::string& promise) {
    if (outcome.failure.empty()) outcome.failure = promise;
  }

  FakeMachine machine;
  std::shared_ptr<QuorvinScreenCapture> capture;
  std::shared_ptr<fakes::SimulatedQueue> queue;
  std::shared_ptr<fakes::FakeStream> stream;
  std::uint32_t sent = 0;
  std::uint32_t newestDelivered = 0;
  int stops = 0;
  bool stoppedHere = false;
  Outcome outcome;
};

TEST(CaptureSimulation, KeepsItsPromisesInAnyOrderOfEvents) {
  runSeeds([](std::uint64_t seed) { return CaptureWorld(seed).run(); });
}

}  // namespace
}  // namespace quorvin::simulation
