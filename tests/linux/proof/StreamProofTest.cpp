// A stream tells which rows of a picture changed, and an encoder leaves out what did not. Whatever
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

#include "platform/linux/capture/CaptureSettings.h"
#include "tests/EnvironmentNumber.h"
#include "tests/linux/capture/CaptureStand.h"
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

  CaptureStand stand{GetParam().serverOptions};

 private:
  void start();
  static void stop(ScreenStream& stream);
  void paintAllTheTime();
  void configure();
  void showDisplay(const PixelRect& area);
  void changeDisplay();
  void movePointer();
  void waitForPicture();
  [[nodiscard]] PixelSize somePictureSize();
  [[nodiscard]] PixelSize shownSize() const;
  [[nodiscard]] std::optional<PicturePixels> pictureOfNewStream();
  void expectNewest(const PicturePixels& picture, const std::string& what);
  void note(std::string what);
  void giveUp(const std::string& why);

  Dice dice{seed};
  RandomPainter painter{stand.server.display(), seed};
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
  configuration = CaptureStand::usualConfiguration();
  configuration.minimumFrameInterval = {1, fpsMax};
  configuration.showsCursor = true;
  stream = stand.capture.makeStream({stand.displays().front()}, configuration, stand.delegate);
  sizeAtStart = display.size();
  ASSERT_FALSE(stream->addStreamOutput(twice, StreamOutputType::screen, stand.queue));
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
  otherProgram.emplace(stand.server.display(),
                       static_cast<std::uint64_t>(dice.between(1, 1 << 30)));
}

void StreamProof::step() {
  switch (dice.between(0, 39)) {
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
      stand.painter.setCursor(dice.between(1, 40), dice.colour(), 0);
      break;
    case 5:
      note("pointer put elsewhere");
      stand.painter.warpPointer(dice.between(0, 319), dice.between(0, 239));
      break;
    case 6: {
      const int quality = dice.between(1, 100);
      note("quality " + std::to_string(quality));
      twice->setQuality(quality);
      break;
    }
    case 7:
      note("some pictures are dropped");
      twice->setDropped(dice.oneIn(2) ? 0 : dice.between(1, 90));
      break;
    case 8: {
      const int held = dice.between(0, static_cast<int>(configuration.queueDepth) - 1);
      note("pictures are held: " + std::to_string(held));
      twice->setHeld(static_cast<std::size_t>(held));
      break;
    }
    case 9:
      checkAtRest();
      break;
    default:
      if (dice.oneIn(4)) {
        movePointer();
      } else {
        painter.change();
      }
      if (dice.oneIn(3)) waitForPicture();
  }
}

void StreamProof::configure() {
  const auto size = somePictureSize();
  configuration.width = size.width;
  configuration.height = size.height;
  configuration.minimumFrameInterval = {1, dice.between(fpsMax / 2, fpsMax)};
  configuration.queueDepth = dice.between(1, 4);
  configuration.showsCursor = !dice.oneIn(3);
  twice->setHeld(0);
  note("configured " + std::to_string(size.width) + "x" + std::to_string(size.height) +
       (configuration.showsCursor ? " with" : " without") + " cursor");
  Answer updated;
  stream->updateConfiguration(configuration, updated.completion());
  if (!updated.wait() || updated.error()) giveUp("the configuration was refused");
}

PixelSize StreamProof::somePictureSize() {
  switch (dice.between(0, 4)) {
    case 0:
    case 1:
      return display.size();
    case 2:
      return {std::max(display.width * 3 / 4, 1), std::max(display.height * 3 / 4, 1)};
    case 3:
      return {std::max(display.width * 2 / 5, 1), std::max(display.height * 2 / 5, 1)};
    default:
      return {dice.between(1, screenSize.width), dice.between(1, screenSize.height)};
  }
}

void StreamProof::showDisplay(const PixelRect& area) {
  // To define it once more would change nothing.
  if (!display.isEmpty()) stand.painter.deleteMonitor("display");
  display = area;
  stand.painter.defineMonitor("display", area, true);
}

void StreamProof::changeDisplay() {
  if (dice.oneIn(2)) {
    note("display moved");
    showDisplay({dice.between(0, screenSize.width - display.width),
                 dice.between(0, screenSize.height - display.height), display.width,
                 display.height});
  } else {
    note("display resized");
    showDisplay(dice.oneIn(3) ? wholeOf(screenSize) : dice.rect(screenSize, screenSize));
  }
}

void StreamProof::movePointer() {
  stand.painter.movePointer(dice.between(0, screenSize.width - 1),
                            dice.between(0, screenSize.height - 1));
}

// With something that changes in every case: a colour that is neither there now nor was before.
void StreamProof::waitForPicture() {
  const auto before = twice->counts().pictures;
  const PixelRect mark = intersectionOf({display.x, display.y, 8, 8}, display);
  const auto there = stand.painter.read(mark).at(0) & 0xffffff;
  do {
    markColour = (markColour + 0x010307) & 0xffffff;
  } while (markColour == there);
  stand.painter.fill(mark, markColour);
  if (!twice->waitForMoreThan(before)) giveUp("no picture came");
}

// The newest picture is the screen, and what a stream shows that knows nothing of what was before.
void StreamProof::checkAtRest() {
  note("at rest");
  otherProgram.reset();
  if (shownSize() == display.size() && !configuration.showsCursor &&
      stand.painter.screenDepth() == 24) {
    PicturePixels screen{display.size(), stand.painter.read(display)};
    for (auto& pixel : screen.pixels) pixel &= 0xffffff;
    expectNewest(screen, "the screen");
  }
  if (const auto picture = pictureOfNewStream()) {
    expectNewest(*picture, "a new stream's picture");
  } else {
    giveUp("a new stream has no picture");
  }
  paintAllTheTime();
}

// As configured, as long as the display has the size that the stream was made for.
PixelSize StreamProof::shownSize() const {
  const PixelSize configured{static_cast<int>(configuration.width),
                             static_cast<int>(configuration.height)};
  return display.size() == sizeAtStart ? configured : fittedInto(configured, display.size());
}

std::optional<PicturePixels> StreamProof::pictureOfNewStream() {
  const auto once = std::make_shared<TwiceEncoder>(seed);
  auto same = configuration;
  same.width = shownSize().width;
  same.height = shownSize().height;
  const auto other = stand.capture.makeStream({stand.displays().front()}, same, stand.delegate);
  static_cast<void>(other->addStreamOutput(once, StreamOutputType::screen, stand.queue));
  Answer started;
  other->startCapture(started.completion());
  const bool isThere = started.wait() && !started.error() && once->waitForMoreThan(0);
  stop(*other);
  if (!isThere) return {};
  return once->newestPicture();
}

void StreamProof::expectNewest(const PicturePixels& picture, const std::string& what) {
  if (!twice->waitFor([&](const auto& newest) { return newest == picture; })) {
    giveUp("the newest picture is not " + what);
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
  for (const auto& error : stand.delegate->errors()) told += "\n  " + error.localizedDescription;
  return told;
}

TEST_P(StreamProof, LeavesNothingOldInAnyPicture) {
  for (std::uint64_t done = 0; done < steps; ++done) {
    ASSERT_NO_FATAL_FAILURE(step());
    ASSERT_TRUE(isFine()) << "after " << done << " steps, " << story();
  }
  checkAtRest();
  EXPECT_TRUE(isFine()) << story();
  const auto counts = twice->counts();
  RecordProperty("pictures", static_cast<int>(counts.pictures));
  RecordProperty("partly_known", static_cast<int>(counts.partlyKnown));
  std::cout << counts.pictures << " pictures, " << counts.encoded << " of them encoded, "
            << counts.partlyKnown << " of those known in part\n";
  EXPECT_TRUE(stand.delegate->errors().empty());
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
