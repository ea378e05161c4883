// Screens that change at random, and frames of them that come as a stream's may come: some never
// encoded, some late, with and without a history, at changing qualities and sizes. After each step
// the file must be, byte for byte, the one that an encoder makes that has seen nothing before.
//
// QUORVIN_STEPS sets how many steps are tried; QUORVIN_SEED replays the one life of a screen that
// a failure names.

#include <gtest/gtest.h>

#include <deque>
#include <iostream>
#include <random>
#include <string>

#include "platform/linux/jpeg/ImageEncoder.h"
#include "tests/EnvironmentNumber.h"
#include "tests/linux/jpeg/JpegDecoders.h"
#include "tests/linux/jpeg/TestScreen.h"

namespace quorvin {
namespace {

constexpr std::uint64_t stepsOfALife = 100;

class Life {
 public:
  Life(std::uint64_t seed, JpegThreads threads)
      : random(static_cast<std::mt19937::result_type>(seed)),
        screen(anySize()),
        quality(anyQuality()),
        encoder(threads) {}

  // Empty, or what went wrong.
  std::string step() {
    change();
    if (chance(8)) static_cast<void>(screen.nextFrame());  // which nobody encodes
    if (chance(10)) {
      late.push_back(screen.nextFrameCopied());
      if (late.size() > 3) late.pop_front();
    }
    if (!late.empty() && chance(10)) return compare(*late[below(late.size())]);
    if (chance(25)) return compare(*screen.frameWithoutHistory());
    return compare(*screen.nextFrame());
  }

 private:
  void change() {
    if (chance(30)) screen.resize(anySize());
    if (chance(30)) screen.restartSeries();
    if (chance(12)) quality = chance(2) ? 72 : anyQuality();
    if (chance(10)) screen.markUnchanged(anyRows());
    if (chance(10)) screen.markUnchanged(anyArea());
    for (std::size_t count = below(4); count > 0; --count) draw();
  }

  void draw() {
    const auto colour = static_cast<std::uint32_t>(random());
    switch (below(6)) {
      case 0:
        return screen.fillRows(anyRows(), colour);
      case 1:
        return screen.drawNoise(anyRows(), random);
      case 2:
        return screen.drawDesktop(anyRows(), colour);
      case 3:
        return screen.fill(anyArea(), colour);
      default: {  // the most frequent and the least: a caret
        auto caret = anyArea();
        caret.width = 1;
        caret.height = 1;
        return screen.fill(caret, colour);
      }
    }
  }

  std::string compare(const CapturedFrame& frame) {
    const auto incremental = encoder.encode(frame, quality);
    const auto fresh = JpegEncoder(JpegThreads{}).encode(frame, quality);
    if (!incremental || !fresh) return "not encoded";
    if (*incremental != *fresh) return "the file differs";
    if (encoder.keptBytes() > 2 * fresh->size()) return "too much is kept";
    if (chance(50) && decodeWithTurboJpeg(incremental->bytes()) !=
                          decodeWithTurboJpeg(encodeAsTheHostDoes(frame, quality))) {
      return "the decoded pixels differ";
    }
    return {};
  }

  // Small mostly, so that there can be many, wide enough for several segments side by side now and
  // then, and as often as not of whole MCU rows.
  PixelSize anySize() {
    const int width = chance(3)
                          ? 128 * (2 + static_cast<int>(below(3))) - static_cast<int>(below(16))
                          : 1 + static_cast<int>(below(chance(20) ? 400 : 50));
    const int height = 1 + static_cast<int>(below(chance(20) ? 600 : 140));
    return {width, chance(3) ? (height + 15) / 16 * 16 : height};
  }
  int anyQuality() { return 1 + static_cast<int>(below(100)); }
  RowRange anyRows() {
    const auto height = asSize(screen.size().height);
    const auto first = below(height);
    const auto most = chance(4) ? height - first : std::min<std::size_t>(height - first, 5);
    return {static_cast<int>(first), static_cast<int>(first + 1 + below(most))};
  }

  PixelRect anyArea() {
    const RowRange rows = anyRows();
    const auto width = asSize(screen.size().width);
    const auto left = below(width);
    return {static_cast<int>(left), rows.first, static_cast<int>(1 + below(width - left)),
            rows.end - rows.first};
  }

  static std::size_t asSize(int number) { return static_cast<std::size_t>(number); }
  std::size_t below(std::size_t limit) { return random() % limit; }
  bool chance(std::size_t oneIn) { return below(oneIn) == 0; }

  std::mt19937 random;
  TestScreen screen;
  int quality;
  JpegEncoder encoder;
  std::deque<TestFrame> late;
};

std::string live(std::uint64_t seed, JpegThreads threads) {
  Life life(seed, threads);
  for (std::uint64_t step = 0; step < stepsOfALife; ++step) {
    if (auto failure = life.step(); !failure.empty()) {
      return failure + " in step " + std::to_string(step) +
             " of QUORVIN_SEED=" + std::to_string(seed);
    }
  }
  return {};
}

void liveAll(std::uint64_t usualSteps, JpegThreads threads) {
  constexpr std::uint64_t reportEvery = 100'000;
  if (const auto seed = numberFromEnvironment("QUORVIN_SEED")) {
    EXPECT_EQ(live(*seed, threads), "");
    return;
  }
  const auto steps = numberFromEnvironment("QUORVIN_STEPS").value_or(usualSteps);
  for (std::uint64_t done = 0; done < steps; done += stepsOfALife) {
    if (done > 0 && done % reportEvery == 0) {
      std::cout << done << " of " << steps << " steps" << std::endl;
    }
    ASSERT_EQ(live(done / stepsOfALife + 1, threads), "");
  }
}

TEST(IncrementalJpeg, IsTheFileThatAFreshEncoderMakes) {
  liveAll(4000, JpegThreads{});
}

TEST(IncrementalJpeg, IsTheSameFileFromManyThreads) {
  liveAll(2000, JpegThreads{.count = 3, .sharedFromPx = 0});
}

}  // namespace
}  // namespace quorvin
