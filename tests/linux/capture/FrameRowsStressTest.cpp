// QUORVIN_FRAMES sets how many frames each test looks at.

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <random>
#include <thread>

#include "tests/EnvironmentNumber.h"
#include "tests/linux/capture/SessionHarness.h"

namespace quorvin {
namespace {

struct Situation {
  std::vector<std::string> server;  // options of Xvfb
  PixelSize frame;
};

int randomBelow(std::mt19937& random, int limit) {
  return static_cast<int>(random() % static_cast<unsigned>(limit));
}

void scribble(ScreenPainter& painter, std::mt19937& random) {
  const int height = randomBelow(random, 8) == 0 ? 100 : 6;
  painter.fill({randomBelow(random, 320), randomBelow(random, 240), 1 + randomBelow(random, 300),
                1 + randomBelow(random, height)},
               static_cast<std::uint32_t>(random() & 0xffffff));
}

// Scribbles on its own for as long as it lives, so that changes fall between any two requests.
class Scribbler {
 public:
  explicit Scribbler(const std::string& server)
      : thread([this, server] {
          ScreenPainter painter(server);
          std::mt19937 random(3);  // NOLINT: the same strokes in every run
          while (!ended) scribble(painter, random);
        }) {}
  Scribbler(const Scribbler&) = delete;
  Scribbler& operator=(const Scribbler&) = delete;
  ~Scribbler() {
    ended = true;
    thread.join();
  }

 private:
  std::atomic<bool> ended = false;
  std::thread thread;
};

class FrameRowsStressTest : public testing::TestWithParam<Situation> {
 protected:
  FrameRowsStressTest() {
    harness.painter.setCursor(16, 0xff00ff, 8);
    harness.start(settings);
  }

  // Looks at many frames, of which some are kept for a while so that surfaces take turns.
  template <typename Change>
  void lookAtFrames(const Change& change) {
    std::mt19937 random(29);  // NOLINT: the same numbers in every run
    std::deque<FrameCopy> earlier;
    std::deque<std::shared_ptr<CapturedFrame>> kept;
    const auto rounds = numberFromEnvironment("QUORVIN_FRAMES").value_or(300);
    for (std::uint64_t round = 0; round < rounds; ++round) {
      change(random);
      auto frame = harness.nextFrame();
      ASSERT_TRUE(frame);
      const FrameCopy copy(*frame);
      for (const FrameCopy& old : earlier) {
        ASSERT_TRUE(agreeWhereUnchanged(old, copy)) << "in round " << round;
      }
      earlier.push_back(copy);
      if (earlier.size() > 3) earlier.pop_front();
      if (randomBelow(random, 2) == 0) kept.push_back(std::move(frame));
      while (kept.size() > 2 || (!kept.empty() && randomBelow(random, 3) == 0)) kept.pop_front();
    }
  }

  // Compares the last frame with one that another session makes from nothing.
  void expectNothingStale() {
    harness.painter.fill({0, 0, 1, 1}, 0xffffff);
    auto last = harness.nextFrame();
    ASSERT_TRUE(last);
    // So many steps ask for the pointer at least twice, and with the answer comes the news of all
    // that has changed before.
    while (auto newer = harness.frameWithin(25)) last = std::move(newer);
    const FrameCopy copy(*last);
    last.reset();
    harness.start(settings);
    const auto fresh = harness.nextFrame();
    ASSERT_TRUE(fresh);
    EXPECT_TRUE(lookTheSame(copy, FrameCopy(*fresh)));
  }

  static CaptureSettings settingsOfSituation() {
    auto wanted = SessionHarness::usualSettings();
    wanted.frameSize = GetParam().frame;
    wanted.showsCursor = true;
    return wanted;
  }

  SessionHarness harness{GetParam().server};
  CaptureSettings settings = settingsOfSituation();
};

TEST_P(FrameRowsStressTest, RowsThatAreNotMarkedAreTheSame) {
  lookAtFrames([this](std::mt19937& random) {
    for (int i = randomBelow(random, 3); i >= 0; --i) scribble(harness.painter, random);
    if (randomBelow(random, 3) == 0) {
      harness.painter.movePointer(randomBelow(random, 320), randomBelow(random, 240));
    }
  });
  expectNothingStale();
}

TEST_P(FrameRowsStressTest, ChangesAtAnyMomentAreMarked) {
  {
    const Scribbler scribbler(harness.server.display());
    lookAtFrames([](std::mt19937& /*random*/) {});
  }
  expectNothingStale();
}

INSTANTIATE_TEST_SUITE_P(Situations, FrameRowsStressTest,
                         testing::Values(Situation{{}, {320, 240}}, Situation{{}, {240, 180}},
                                         Situation{{}, {107, 59}}, Situation{{}, {400, 260}},
                                         Situation{{"-extension", "MIT-SHM"}, {320, 240}},
                                         Situation{{"-extension", "DAMAGE"}, {320, 240}},
                                         Situation{{"-extension", "DAMAGE"}, {200, 150}}));

}  // namespace
}  // namespace quorvin
