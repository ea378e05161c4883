#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
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
using Output = fakes::FakeVideoEncoder::Output;

constexpr std::uint64_t millisecond = 1'000'000;
constexpr int stepsPerRun = 80;

constexpr auto refusedByTheSystem = -12902;

// One running capture under samples of several sizes, changes of the codec, encoders that fail or
// lag behind, stalls, a stop of the system, a stop of the owner and an owner who lets go, in any
// order, with a main thread that runs as it likes.
class CaptureWorld {
 public:
  explicit CaptureWorld(std::uint64_t seed) : machine(seed, /*randomLeeway=*/true) {
    capture = QuorvinScreenCapture::make(
        machine.platform, [this](const Error& error) { ended(error); },
        [this](const Data& frame) { received(frame); });
    weakCapture = capture->weak_from_this();
    queue = machine.dispatch.newestSerialQueue();
    if (machine.dispatch.random(3) == 0) {
      machine.videoEncoder.delivery = fakes::FakeVideoEncoder::Delivery::atOnce;
    }
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
    if (newestMade() != newestDelivered && capture != nullptr && !hasEnded()) {
      fail("the newest frame is delivered in the end");
    }
    if (stoppedHere && machine.videoEncoder.sessionsAtWork() > 0) {
      fail("no encoder outlives a stop");
    }
    letGo();
    return outcome;
  }

 private:
  void step() {
    const auto drawn = machine.dispatch.random(1000);
    if (drawn < 450) {
      note("run");
      machine.dispatch.runOne();
    } else if (drawn < 750) {
      sendSample();
    } else if (drawn < 830) {
      note("time");
      machine.dispatch.advance(machine.dispatch.random(2500) * millisecond);
    } else if (drawn < 960) {
      disturbEncoder(machine.dispatch.random(6));
    } else if (capture != nullptr) {
      useCapture(drawn - 960);
    }
  }

  void sendSample() {
    constexpr std::array<std::size_t, 3> widths{1440, 720, 360};
    const auto size = machine.dispatch.random(8);
    const auto width = widths.at(size < widths.size() ? size : 0);
    const auto sample = FakeSample::complete(++sent, width, width * 5 / 8);
    sample->presentationTime = {sent, 30};
    note("sample " + std::to_string(sent) + " of width " + std::to_string(width));
    stream->send(sample);
  }

  void disturbEncoder(std::uint64_t kind) {
    note("encoder " + std::to_string(kind));
    auto& encoder = machine.videoEncoder;
    encoder.makesSessions = kind != 0;
    encoder.encodeStatus = kind == 1 ? refusedByTheSystem : 0;
    encoder.script = {};
    if (kind == 2)
      encoder.script = [](const auto& /*frame*/) {
        return Output{};
      };
    if (kind == 3) {
      encoder.script = [](const auto& frame) {
        auto sample = fakes::FakeEncodedSample::of(frame);
        sample->data->pop_back();  // the length leads past the end
        return Output{0, sample};
      };
    }
  }

  void useCapture(std::uint64_t drawn) {
    if (drawn < 28) {
      configure();
    } else if (drawn < 33) {
      note("system stop");
      ++systemStops;
      stream->stopWithError({fakes::fakeStreamErrorDomain, -3821, "Stopped."});
    } else if (drawn < 38) {
      note("stop");
      capture->stop();
      stoppedHere = true;
    } else {
      note("let go");
      capture.reset();
    }
  }

  void configure() {
    PictureSettings settings;
    settings.codec = machine.dispatch.random(3) == 0 ? "jpeg" : "h264";
    note("settings " + settings.codec);
    capture->configure(settings, [](const std::optional<Error>&) {});
  }

  // Nothing may be left once the owner has let go and all that is under way has ended.
  void letGo() {
    capture.reset();
    stream.reset();
    machine.dispatch.runUntilIdle();
    check();
    if (!weakCapture.expired()) fail("no capture outlives its owner");
    if (machine.videoEncoder.sessionsAtWork() > 0) fail("no encoder outlives its capture");
  }

  void check() {
    const auto& main = machine.dispatch.mainThread();
    // Deliveries and nothing else come to the main queue from the capture's own queue here, and
    // only stops beside them from the system's threads.
    const auto deliveries =
        main.pendingFrom(queue.get()) + main.pendingFrom(&machine.dispatch.systemThreads());
    if (deliveries > 1 + systemStops) fail("at most one delivery is queued");
    if (machine.videoEncoder.sessionsAtWork() > 1) fail("a capture has at most one encoder");
    if (machine.videoEncoder.letGoAtWork > 0) fail("an encoder is ended before it is let go");
    for (const auto& violation : machine.violations()) fail(violation);
  }

  void ended(const Error& error) {
    note("ended " + std::to_string(error.code));
    if (++stops > 1) fail("an end is reported at most once");
    if (stoppedHere) fail("a stop that was asked for is not reported");
  }

  void received(const Data& frame) {
    const auto content = contentOf(frame);
    note("frame " + std::to_string(content));
    if (hasEnded()) fail("no frame is delivered after the end");
    if (content <= newestDelivered) fail("a newer frame is never followed by an older one");
    if (content != newestMade()) fail("what is delivered is the newest there is");
    newestDelivered = content;
  }

  std::uint32_t contentOf(const Data& frame) {
    const auto bytes = frame.bytes();
    if (bytes[0] != 'Q') return fakes::FakeImageEncoder::contentOf(frame);
    const auto encoded = fakes::FakeEncodedFrame::readFromEnd(bytes);
    if (encoded.width != bytes[6] * 256U + bytes[7] ||
        encoded.height != bytes[8] * 256U + bytes[9]) {
      fail("a payload says how large its frame is");
    }
    return encoded.content;
  }

  [[nodiscard]] bool hasEnded() const { return stoppedHere || stops > 0; }
  [[nodiscard]] std::uint32_t newestMade() const {
    return std::max(machine.imageEncoder.newestContent, machine.videoEncoder.newestContent);
  }

  void note(const std::string& line) { outcome.trace.push_back(line); }
  void fail(const std::string& promise) {
    if (outcome.failure.empty()) outcome.failure = promise;
  }

  FakeMachine machine;
  std::shared_ptr<QuorvinScreenCapture> capture;
  std::weak_ptr<QuorvinScreenCapture> weakCapture;
  std::shared_ptr<fakes::SimulatedQueue> queue;
  std::shared_ptr<fakes::FakeStream> stream;
  std::uint32_t sent = 0;
  std::uint32_t newestDelivered = 0;
  std::size_t systemStops = 0;
  int stops = 0;
  bool stoppedHere = false;
  Outcome outcome;
};

TEST(CaptureSimulation, KeepsItsPromisesInAnyOrderOfEvents) {
  runSeeds([](std::uint64_t seed) { return CaptureWorld(seed).run(); });
}

}  // namespace
}  // namespace quorvin::simulation
