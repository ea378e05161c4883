// The whole host at work for a long time, while everything that can be asked of it is asked.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <deque>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <thread>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/ImageEncoder.h"
#include "tests/EnvironmentNumber.h"
#include "tests/e2e/soak/SoakedHost.h"
#include "tests/linux/proof/RandomPainter.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr PixelSize screenSize{1001, 703};
// Under a sanitizer, on a machine that does other things too.
constexpr auto timeout = 60s;
// Until then everything that is made once has been made.
constexpr std::size_t warmUpSessions = 4;
constexpr std::size_t growthBytesMax = std::size_t{48} * 1024 * 1024;
// Of a library's threads some come and go as they please.
constexpr std::size_t growthThreadsMax = 2;
constexpr std::size_t growthDescriptorsMax = 2;
constexpr double h264PsnrMin = 30;
// The bytes are compared as well; this tells an encoder that is wrong every time.
constexpr double jpegPsnrMin = 20;

class Soak : public testing::Test {
 protected:
  void run();

  void TearDown() override {
    if (!HasFailure()) return;
    std::cout << "The last steps:\n";
    for (const auto& each : lastNotes) std::cout << "  " << each << "\n";
    std::cout << "The host says:\n" << host.errorOutput() << "\n";
  }

 private:
  enum class Screen { busy, calm, resting };

  void act();
  void watch();
  void settle();

  SoakSettings someSettings();
  void configureSome();
  void restart();
  void checkVitals();
  void giveInput();
  void readSlowly();
  void resizeDisplay();
  void checkAtRest();
  void useDisplay(const PixelRect& area);
  // What the newest frame has that the screen has not; empty when it is the same.
  [[nodiscard]] std::string differenceFromScreen();

  // False when none came in time; otherwise it is the newest.
  bool nextFrame(Milliseconds within);
  void paint(Screen screen);
  void report();
  void note(const std::string& what);

  const std::uint64_t seed = numberFromEnvironment("QUORVIN_SEED").value_or(1);
  const std::chrono::seconds length{numberFromEnvironment("QUORVIN_SOAK_S").value_or(60)};
  RandomSource random{seed};
  HostHarness harness{{.widthPx = screenSize.width, .heightPx = screenSize.height}};
  ScreenPainter desk{harness.server.display()};
  RandomPainter painter{harness.server.display(), seed};
  SoakedHost host{harness};
  Clock::time_point start = Clock::now();
  Clock::time_point reportAt = start;
  PixelRect display;
  PixelSize displayAtStart;
  std::optional<SoakedFrame> newest;
  Vitals usual;
  std::size_t highestBytes = 0;
  std::size_t restsChecked = 0;
  std::deque<std::string> lastNotes;
};

void Soak::run() {
  useDisplay(wholeOf(screenSize));
  displayAtStart = display.size();
  host.start(displayAtStart);
  settle();
  while (Clock::now() < start + length || restsChecked == 0 ||
         host.counts().sessions <= warmUpSessions) {
    act();
    settle();
    watch();
  }
  restart();
  report();
  host.end();
}

void Soak::act() {
  switch (random.between(0, 11)) {
    case 0:
    case 1:
      return restart();
    case 2:
      return giveInput();
    case 3:
      return readSlowly();
    case 4:
      return resizeDisplay();
    case 5:
    case 6:
      return checkAtRest();
    default:
      return configureSome();
  }
}

// For a while there is something to see, or not, and every frame of it is checked.
void Soak::watch() {
  const auto screen = std::array{Screen::busy, Screen::calm, Screen::resting}.at(
      static_cast<std::size_t>(random.between(0, 2)));
  const auto until = Clock::now() + Milliseconds(random.between(50, 1200));
  while (Clock::now() < until) {
    paint(screen);
    nextFrame(screen == Screen::busy ? 1ms : 40ms);
    report();
  }
}

// Something changes until a frame has come that is as was asked for last.
void Soak::settle() {
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    paint(Screen::busy);
    if (nextFrame(10ms) && newest->decoded.kind == host.latest()) return;
    if (Clock::now() > deadline) {
      throw std::runtime_error("no frame comes of " + textOf(host.latest()));
    }
  }
}

bool Soak::nextFrame(Milliseconds within) {
  auto frame = host.nextFrame(within);
  if (!frame) return false;
  newest = std::move(frame);
  return true;
}

void Soak::paint(Screen screen) {
  if (screen == Screen::resting) return;
  if (screen == Screen::calm) {
    painter.drawCaret();
  } else {
    painter.change();
  }
  if (random.oneIn(4)) {
    desk.movePointer(random.between(0, screenSize.width - 1),
                     random.between(0, screenSize.height - 1));
  }
  if (random.oneIn(40)) desk.setCursor(random.between(2, 40), random.colour(), 1);
}

SoakSettings Soak::someSettings() {
  SoakSettings settings;
  settings.isH264 = random.oneIn(2);
  settings.most = {random.between(640, 1100), random.between(480, 800)};
  settings.fps = random.between(5, 60);
  settings.megabits = random.between(1, 20);
  settings.quality = random.between(40, 95);
  settings.queueDepth = random.between(1, 8);
  settings.showsCursor = random.oneIn(2);
  return settings;
}

void Soak::configureSome() {
  std::vector<SoakSettings> settings;
  const int count = random.oneIn(4) ? random.between(2, 5) : 1;
  for (int i = 0; i < count; ++i) settings.push_back(someSettings());
  host.configure(settings);
  note("settings for " + textOf(host.latest()));
}

void Soak::restart() {
  host.stop();
  checkVitals();
  displayAtStart = display.size();
  newest.reset();
  note("a session of " + textOf({false, displayAtStart}));
  host.start(displayAtStart);
}

// What belongs to a session goes with it, sooner or later.
void Soak::checkVitals() {
  if (host.counts().sessions <= warmUpSessions) {
    usual = host.vitals();
    return;
  }
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    const auto now = host.vitals();
    const bool isFine = now.residentBytes <= usual.residentBytes + growthBytesMax &&
                        now.threads <= usual.threads + growthThreadsMax &&
                        now.descriptors <= usual.descriptors + growthDescriptorsMax;
    if (isFine) return;
    if (Clock::now() > deadline) throw std::runtime_error("the host keeps more and more");
    std::this_thread::sleep_for(10ms);
  }
}

void Soak::giveInput() {
  note("input");
  const auto inject = [&](const Map& event) {
    host.call("injectInput", event);
  };
  for (int i = random.between(1, 20); i > 0; --i) {
    inject(Map{{"action", "mouseMove"},
               {"x", random.between(0, 1000) / 1000.0},
               {"y", random.between(0, 1000) / 1000.0}});
    inject(Map{{"action", "scroll"}, {"dx", 0}, {"dy", random.between(-40, 40)}});
    const int key = random.between(0, 8);
    inject(Map{{"action", "keyDown"}, {"keyCode", key}});
    if (random.oneIn(2)) inject(Map{{"action", "keyUp"}, {"keyCode", key}});
  }
  host.call("releaseInput");
}

void Soak::readSlowly() {
  note("nothing is read");
  const auto until = Clock::now() + Milliseconds(random.between(200, 3000));
  while (Clock::now() < until) painter.change();
}

void Soak::resizeDisplay() {
  const PixelSize size{random.between(300, screenSize.width),
                       random.between(200, screenSize.height)};
  useDisplay({random.between(0, screenSize.width - size.width),
              random.between(0, screenSize.height - size.height), size.width, size.height});
}

void Soak::useDisplay(const PixelRect& area) {
  note("display at " + std::to_string(area.x) + ", " + std::to_string(area.y) + " of " +
       std::to_string(area.width) + "x" + std::to_string(area.height));
  // To define it once more would change nothing.
  if (!display.isEmpty()) desk.deleteMonitor("display");
  display = area;
  host.expectDisplay(area.size());
  desk.defineMonitor("display", area, true);
}

// The last frame of a screen that no longer changes is what is on it.
void Soak::checkAtRest() {
  useDisplay({0, 0, displayAtStart.width, displayAtStart.height});
  auto settings = someSettings();
  settings.most = {1920, 1200};
  settings.megabits = random.between(7, 20);
  settings.showsCursor = false;
  host.configure({settings});
  note("rest as " + textOf(host.latest()));
  settle();
  watch();
  const auto deadline = Clock::now() + timeout;
  auto difference = differenceFromScreen();
  // A little longer than until it is right: it has to stay so.
  while (nextFrame(300ms) || !difference.empty()) {
    difference = differenceFromScreen();
    if (Clock::now() > deadline) {
      throw std::runtime_error("the last frame of a resting screen as " + textOf(host.latest()) +
                               " is wrong: " + difference);
    }
  }
  ++restsChecked;
}

std::string Soak::differenceFromScreen() {
  const auto& kind = newest->decoded.kind;
  if (kind != host.latest()) return "it is " + textOf(kind);
  const auto pixels = desk.read(display);
  const auto psnr = worstBandPsnr(newest->decoded.lumas(), lumasOf(pixels), kind.size);
  const auto& settings = host.settings();
  if (psnr < (kind.isH264 ? h264PsnrMin : jpegPsnrMin)) {
    return "some of it is worse than " + std::to_string(psnr) + " dB";
  }
  if (kind.isH264) return {};
  const auto width = static_cast<std::size_t>(kind.size.width);
  const CapturedFrame screen(nullptr, reinterpret_cast<const std::uint8_t*>(pixels.data()), width,
                             static_cast<std::size_t>(kind.size.height),
                             width * sizeof(std::uint32_t));
  const auto whole =
      LinuxImageEncoder().makeContext(false)->jpegRepresentation(screen, settings.quality / 100.0);
  const bool isSame = whole && std::ranges::equal(whole->bytes(), newest->payload);
  return isSame ? "" : "its bytes are not those of the screen encoded afresh";
}

void Soak::note(const std::string& what) {
  constexpr std::size_t notesMax = 12;
  lastNotes.push_back(what);
  if (lastNotes.size() > notesMax) lastNotes.pop_front();
}

void Soak::report() {
  const auto vitals = host.vitals();
  highestBytes = std::max(highestBytes, vitals.residentBytes);
  if (Clock::now() < reportAt) return;
  reportAt += 10s;
  const auto& counts = host.counts();
  std::cout << "seed " << seed << ", "
            << std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start).count()
            << " s: " << counts.jpeg << " JPEG and " << counts.h264 << " H.264 frames, "
            << counts.settings << " settings, " << counts.sessions << " sessions, " << restsChecked
            << " rests; " << vitals.residentBytes / 1'000'000 << " MB (at most "
            << highestBytes / 1'000'000 << "), " << vitals.threads << " threads, "
            << vitals.descriptors << " descriptors" << std::endl;
}

TEST_F(Soak, TheHostDoesWhatIsAskedForAsLongAsItIsAsked) {
  ASSERT_NO_THROW(run());
}

}  // namespace
}  // namespace quorvin
