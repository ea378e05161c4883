// A stream tells which rows of a frame changed, and an encoder leaves out what did not. Whatever
// happens on the screen and to the stream, nothing old may be left over in what comes out.

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <iostream>
#include <optional>
#include <ostream>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/capture/CaptureSession.h"
#include "platform/linux/capture/ScreenCapture.h"
#include "tests/EnvironmentNumber.h"
#include "tests/linux/capture/CaptureHarness.h"
#include "tests/linux/proof/RandomPainter.h"
#include "tests/linux/proof/TwiceEncoder.h"

namespace quorvin {
namespace {

constexpr PixelSize screenSize{320, 240};
constexpr int fpsMax = 500;

// A program that does not care whether anybody is looking.
class OtherProgram {
 public:
  OtherProgram(std::string server, std::uint64_t seed)
      : thread([server = std::move(server), seed](const std::stop_token& ended) {
          RandomPainter painter(server, seed);
          while (!ended.stop_requested()) painter.change();
        }) {}

 private:
  std::jthread thread;
};

struct Way {
  std::string name;
  std::vector<std::string> serverOptions;
  // Or else only between two steps.
  bool isPaintedAllTheTime;

  friend void PrintTo(const Way& way, std::ostream* out) { *out << way.name; }
};

class StreamProof : public testing::TestWithParam<Way> {
 protected:
  void SetUp() override {
    showDisplay({0, 0, screenSize.width, screenSize.height});
    start();
  }
  void TearDown() override { stop(*stream); }

  void step();
  void checkAtRest();
  [[nodiscard]] bool isFine() const { return fine && twice->complaint().empty(); }
  // What led to it.
  [[nodiscard]] std::string story() const;

  const std::uint64_t seed = numberFromEnvironment("QUORVIN_SEED").value_or(1);
  const std::uint64_t steps = numberFromEnvironment("QUORVIN_STEPS").value_or(2000);
  std::shared_ptr<TwiceEncoder> twice = std::make_shared<TwiceEncoder>(seed);

  CaptureHarness harness{GetParam().serverOptions};

 private:
  void start();
  static void stop(ScreenStream& stream);
  void paintAllTheTime();
  void configure();
  void showDisplay(const PixelRect& area);
  void changeDisplay();
  void movePointer();
  void waitForFrame();
  [[nodiscard]] PixelSize someFrameSize();
  [[nodiscard]] PixelSize shownSize() const;
  [[nodiscard]] std::optional<FramePixels> frameOfNewStream();
  void expectNewest(const FramePixels& frame, const std::string& what);
  void note(std::string what);
  void giveUp(const std::string& why);

  RandomSource random{seed};
  RandomPainter painter{harness.server.display(), seed};
  std::shared_ptr<ScreenStream> stream;
  StreamConfiguration configuration;
  PixelRect display;
  PixelSize sizeAtStart;
  std::optional<OtherProgram> otherProgram;
  std::deque<std::string> lastNotes;
  std::uint32_t markColour = 0;
  bool fine = true;
};

void StreamProof::start() {
  configuration = CaptureHarness::usualConfiguration();
  configuration.minimumFrameInterval = {1, fpsMax};
  configuration.showsCursor = true;
  stream =
      harness.capture.makeStream({harness.displays().front()}, configuration, harness.delegate);
  sizeAtStart = display.size();
  ASSERT_FALSE(stream->addStreamOutput(twice, StreamOutputType::screen, harness.queue));
  Answer started;
  stream->startCapture(started.completion());
  ASSERT_TRUE(started.wait() && !started.error());
  ASSERT_TRUE(twice->waitForMoreThan(0));
  paintAllTheTime();
}

void StreamProof::stop(ScreenStream& stream) {
  Answer stopped;
  stream.stopCapture(stopped.completion());
  EXPECT_TRUE(stopped.wait());
}

void StreamProof::paintAllTheTime() {
  if (!GetParam().isPaintedAllTheTime) return;
  otherProgram.emplace(harness.server.display(),
                       static_cast<std::uint64_t>(random.between(1, 1 << 30)));
}

void StreamProof::step() {
  switch (random.between(0, 39)) {
    case 0:
    case 1:
      configure();
      break;
    case 2:
    case 3:
      changeDisplay();
      break;
    case 4:
      note("cursor of another shape");
      harness.painter.setCursor(random.between(1, 40), random.colour(), 0);
      break;
    case 5:
      note("pointer put elsewhere");
      harness.painter.warpPointer(random.between(0, 319), random.between(0, 239));
      break;
    case 6: {
      const int quality = random.between(1, 100);
      note("quality " + std::to_string(quality));
      twice->setQuality(quality);
      break;
    }
    case 7:
      note("some frames are dropped");
      twice->setDropped(random.oneIn(2) ? 0 : random.between(1, 90));
      break;
    case 8: {
      const int held = random.between(0, static_cast<int>(configuration.queueDepth) - 1);
      note("frames are held: " + std::to_string(held));
      twice->setHeld(static_cast<std::size_t>(held));
      break;
    }
    case 9:
      checkAtRest();
      break;
    default:
      if (random.oneIn(4)) {
        movePointer();
      } else {
        painter.change();
      }
      if (random.oneIn(3)) waitForFrame();
  }
}

void StreamProof::configure() {
  const auto size = someFrameSize();
  configuration.width = size.width;
  configuration.height = size.height;
  configuration.minimumFrameInterval = {1, random.between(fpsMax / 2, fpsMax)};
  configuration.queueDepth = random.between(1, 4);
  configuration.showsCursor = !random.oneIn(3);
  twice->setHeld(0);
  note("configured " + std::to_string(size.width) + "x" + std::to_string(size.height) +
       (configuration.showsCursor ? " with" : " without") + " cursor");
  Answer updated;
  stream->updateConfiguration(configuration, updated.completion());
  if (!updated.wait() || updated.error()) giveUp("the configuration was refused");
}

PixelSize StreamProof::someFrameSize() {
  switch (random.between(0, 4)) {
    case 0:
    case 1:
      return display.size();
    case 2:
      return {std::max(display.width * 3 / 4, 1), std::max(display.height * 3 / 4, 1)};
    case 3:
      return {std::max(display.width * 2 / 5, 1), std::max(display.height * 2 / 5, 1)};
    default:
      return {random.between(1, screenSize.width), random.between(1, screenSize.height)};
  }
}

void StreamProof::showDisplay(const PixelRect& area) {
  // To define it once more would change nothing.
  if (!display.isEmpty()) harness.painter.deleteMonitor("display");
  display = area;
  harness.painter.defineMonitor("display", area, true);
}

void StreamProof::changeDisplay() {
  if (random.oneIn(2)) {
    note("display moved");
    showDisplay({random.between(0, screenSize.width - display.width),
                 random.between(0, screenSize.height - display.height), display.width,
                 display.height});
  } else {
    note("display resized");
    showDisplay(random.oneIn(3) ? wholeOf(screenSize) : random.rect(screenSize, screenSize));
  }
}

void StreamProof::movePointer() {
  harness.painter.movePointer(random.between(0, screenSize.width - 1),
                              random.between(0, screenSize.height - 1));
}

// With something that changes in every case: a colour that is neither there now nor was before.
void StreamProof::waitForFrame() {
  const auto before = twice->counts().frames;
  const PixelRect mark = intersectionOf({display.x, display.y, 8, 8}, display);
  const auto there = harness.painter.read(mark).at(0) & 0xffffff;
  do {
    markColour = (markColour + 0x010307) & 0xffffff;
  } while (markColour == there);
  harness.painter.fill(mark, markColour);
  if (!twice->waitForMoreThan(before)) giveUp("no frame came");
}

// The newest frame is the screen, and what a stream shows that knows nothing of what was before.
void StreamProof::checkAtRest() {
  note("at rest");
  otherProgram.reset();
  if (shownSize() == display.size() && !configuration.showsCursor &&
      harness.painter.screenDepth() == 24) {
    FramePixels screen{display.size(), harness.painter.read(display)};
    for (auto& pixel : screen.pixels) pixel &= 0xffffff;
    expectNewest(screen, "the screen");
  }
  if (const auto frame = frameOfNewStream()) {
    expectNewest(*frame, "a new stream's frame");
  } else {
    giveUp("a new stream has no frame");
  }
  paintAllTheTime();
}

// As configured, as long as the display has the size that the stream was made for.
PixelSize StreamProof::shownSize() const {
  const PixelSize configured{static_cast<int>(configuration.width),
                             static_cast<int>(configuration.height)};
  return display.size() == sizeAtStart ? configured : fittedInto(configured, display.size());
}

std::optional<FramePixels> StreamProof::frameOfNewStream() {
  const auto once = std::make_shared<TwiceEncoder>(seed);
  auto same = configuration;
  same.width = shownSize().width;
  same.height = shownSize().height;
  const auto other =
      harness.capture.makeStream({harness.displays().front()}, same, harness.delegate);
  static_cast<void>(other->addStreamOutput(once, StreamOutputType::screen, harness.queue));
  Answer started;
  other->startCapture(started.completion());
  const bool isThere = started.wait() && !started.error() && once->waitForMoreThan(0);
  stop(*other);
  if (!isThere) return {};
  return once->newestFrame();
}

void StreamProof::expectNewest(const FramePixels& frame, const std::string& what) {
  if (!twice->waitFor([&](const auto& newest) { return newest == frame; })) {
    giveUp("the newest frame is not " + what);
  }
}

void StreamProof::note(std::string what) {
  constexpr std::size_t notesMax = 12;
  lastNotes.push_back(std::move(what));
  if (lastNotes.size() > notesMax) lastNotes.pop_front();
}

void StreamProof::giveUp(const std::string& why) {
  note(why);
  fine = false;
}

std::string StreamProof::story() const {
  std::string told = "seed " + std::to_string(seed) + ": " + twice->complaint();
  for (const auto& each : lastNotes) told += "\n  " + each;
  for (const auto& error : harness.delegate->errors()) told += "\n  " + error.localizedDescription;
  return told;
}

TEST_P(StreamProof, LeavesNothingOldInAnyFrame) {
  for (std::uint64_t done = 0; done < steps; ++done) {
    ASSERT_NO_FATAL_FAILURE(step());
    ASSERT_TRUE(isFine()) << "after " << done << " steps, " << story();
  }
  checkAtRest();
  EXPECT_TRUE(isFine()) << story();
  const auto counts = twice->counts();
  RecordProperty("frames", static_cast<int>(counts.frames));
  RecordProperty("partly_known", static_cast<int>(counts.partlyKnown));
  std::cout << counts.frames << " frames, " << counts.encoded << " of them encoded, "
            << counts.partlyKnown << " of those known in part\n";
  EXPECT_TRUE(harness.delegate->errors().empty());
}

INSTANTIATE_TEST_SUITE_P(Ways, StreamProof,
                         testing::Values(Way{"Damage", {}, false}, Way{"DamageRacing", {}, true},
                                         Way{"NoDamage", {"-extension", "DAMAGE"}, false},
                                         Way{"NoDamageRacing", {"-extension", "DAMAGE"}, true},
                                         Way{"NoSharedMemory", {"-extension", "MIT-SHM"}, false},
                                         Way{"ManyColours", {"-screen", "0", "320x240x30"}, false}),
                         [](const auto& way) { return way.param.name; });

}  // namespace
}  // namespace quorvin
