#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "platform/linux/video/RateControl.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr double rate = 7'000'000;  // bits a second
constexpr nanoseconds start = 1h;

double seconds(nanoseconds duration) {
  return std::chrono::duration<double>(duration).count();
}

// A frame as an encoder sees it: how many bits it takes at QP 0 and how fast they fall,
// in octaves for each step. A screen's text falls slowly, a photograph by one in six steps.
struct Content {
  double bits = 0;
  double fall = 0;
  double floor = 400;

  [[nodiscard]] std::size_t bytesAt(int qp) const {
    return static_cast<std::size_t>((floor + bits * std::exp2(-fall * qp)) / 8);
  }
};

constexpr Content text{9e6, 0.08};         // 3.0 Mbit at 20, 0.5 Mbit at 51
constexpr Content photograph{53e6, 0.16};  // 4.6 Mbit at 22
constexpr Content plain{20e3, 0.1};
constexpr Content noise{200e6, 0.12};  // 2.9 Mbit at 51

struct Result {
  nanoseconds at{};
  double bits = 0;  // 0: left out
  int qp = 0;
  int tries = 0;
};

// A stream of frames, encoded as the rate control says.
class Stream {
 public:
  explicit Stream(double bitRate = rate) { control.setBitRate(static_cast<std::int64_t>(bitRate)); }

  Result put(nanoseconds at, const Content& content, bool isRefresh = false) {
    Result result{at, 0, 0, 0};
    auto qp = control.begin(at, isRefresh);
    while (qp) {
      EXPECT_GE(*qp, RateControl::qpMin);
      EXPECT_LE(*qp, RateControl::qpMax);
      const auto bytes = content.bytesAt(*qp);
      const auto verdict = control.judge(bytes);
      ++result.tries;
      if (verdict.action == RateControl::Action::keep) {
        result.bits = 8.0 * static_cast<double>(bytes);
        result.qp = *qp;
      }
      if (verdict.action != RateControl::Action::encodeAgain) break;
      qp = verdict.qp;
    }
    results.push_back(result);
    return result;
  }

  // Frames at that rate for so long; each of the content at its time.
  void play(nanoseconds from, nanoseconds duration, double framesASecond,
            const std::function<Content(nanoseconds)>& contentAt) {
    const nanoseconds interval(std::llround(1e9 / framesASecond));
    for (auto at = from; at < from + duration; at += interval) put(at, contentAt(at));
  }

  // The most bits that any span of that length got.
  [[nodiscard]] double mostIn(nanoseconds span) const {
    double most = 0;
    for (const auto& first : results) most = std::max(most, bitsBetween(first.at, first.at + span));
    return most;
  }
  [[nodiscard]] double bitsBetween(nanoseconds from, nanoseconds to) const {
    double bits = 0;
    for (const auto& result : results) {
      if (result.at >= from && result.at < to) bits += result.bits;
    }
    return bits;
  }

  RateControl control;
  std::vector<Result> results;
};

std::function<Content(nanoseconds)> always(const Content& content) {
  return [content](nanoseconds) {
    return content;
  };
}

class RateControlAtRate : public testing::TestWithParam<double> {};

TEST_P(RateControlAtRate, HoldsTheAverageOverAnyFourSeconds) {
  for (const auto& content : {text, photograph, noise}) {
    Stream stream;
    stream.play(start, 30s, GetParam(), always(content));
    EXPECT_LE(stream.mostIn(4s), 1.25 * 4 * rate);
    for (auto from = start; from <= start + 26s; from += 100ms) {
      EXPECT_GE(stream.bitsBetween(from, from + 4s), 0.75 * 4 * rate) << seconds(from - start);
    }
  }
}

TEST_P(RateControlAtRate, HoldsTheAverageWhenTheFrameChangesAbruptly) {
  Stream stream;
  const auto alternating = [](nanoseconds at) {
    constexpr std::array contents{text, plain, photograph, text, noise, photograph};
    return contents.at(static_cast<std::size_t>((at - start) / 1500ms) % contents.size());
  };
  stream.play(start, 60s, GetParam(), alternating);
  EXPECT_LE(stream.mostIn(4s), 1.25 * 4 * rate);
}

// As long as every frame could take more than there is to spend.
TEST_P(RateControlAtRate, SpendsTheAverageAlsoWhenTheFrameChangesAbruptly) {
  Stream stream;
  const auto alternating = [](nanoseconds at) {
    constexpr std::array contents{text, noise, photograph, text, photograph, noise};
    return contents.at(static_cast<std::size_t>((at - start) / 700ms) % contents.size());
  };
  stream.play(start, 60s, GetParam(), alternating);
  EXPECT_LE(stream.mostIn(4s), 1.25 * 4 * rate);
  for (auto from = start; from <= start + 56s; from += 100ms) {
    EXPECT_GE(stream.bitsBetween(from, from + 4s), 0.75 * 4 * rate) << seconds(from - start);
  }
}

INSTANTIATE_TEST_SUITE_P(Rates, RateControlAtRate, testing::Values(5, 10, 15, 24, 30, 60));

TEST(RateControl, SpendsWhatAPauseHasSavedOnTheFirstFrame) {
  Stream stream;
  stream.play(start, 4s, 30, always(photograph));
  const auto usual = stream.results.back();
  const auto first = stream.put(start + 10s, photograph);
  EXPECT_GE(first.bits, 8 * usual.bits);
  EXPECT_LE(first.bits, rate * seconds(RateControl::savedAtMost));
  EXPECT_LE(stream.mostIn(4s), 1.25 * 4 * rate);
}

TEST(RateControl, ALongPauseSavesNoMoreThanAShortOne) {
  Stream shortPause;
  Stream longPause;
  for (auto* stream : {&shortPause, &longPause}) stream->play(start, 2s, 30, always(noise));
  const auto afterShort = shortPause.put(start + 4s, noise);
  const auto afterLong = longPause.put(start + 24h, noise);
  EXPECT_EQ(afterShort.bits, afterLong.bits);
}

TEST(RateControl, EncodesSimpleFramesFinelyAndSpendsLess) {
  Stream stream;
  stream.play(start, 5s, 30, always(plain));
  for (const auto& result : stream.results) EXPECT_EQ(result.qp, RateControl::qpMin);
  EXPECT_FALSE(stream.control.refreshAfter());
}

TEST(RateControl, SettlesOnOneTryAFrame) {
  for (const auto& content : {text, photograph}) {
    Stream stream;
    stream.play(start, 10s, 30, always(content));
    const auto tries = [&](auto from, auto to) {
      int sum = 0;
      for (auto it = from; it != to; ++it) sum += it->tries;
      return sum;
    };
    EXPECT_LE(tries(stream.results.begin() + 30, stream.results.end()), 280);
  }
}

TEST(RateControl, EncodesAgainWhenTheFrameIsFarLargerThanExpected) {
  Stream stream;
  stream.play(start, 5s, 30, always(plain));
  const auto result = stream.put(start + 5s, noise);
  EXPECT_GE(result.tries, 2);
  EXPECT_LE(result.tries, 4);
  EXPECT_GT(result.bits, 0);
}

// What is kept back is for the frame that comes to rest, not for one in between.
TEST(RateControl, LeavesHalfOfTheReserveAloneWhateverComesInBetween) {
  for (const double factor : {2.0, 4.0, 5.0, 6.0, 7.0}) {
    Stream stream;
    stream.play(start, 10s, 30, always({2e6, 0.08}));
    const auto before = stream.results.back();
    const auto larger = stream.put(before.at + 33ms, {factor * 2e6, 0.08});
    EXPECT_GT(larger.bits, 0);
    EXPECT_LE(larger.bits, before.bits + rate * seconds(RateControl::reserve) / 2) << factor;
  }
}

TEST(RateControl, LeavesOutWhatDoesNotFitAndGoesOnAsSoonAsItDoes) {
  Stream stream;
  stream.play(start, 10s, 30, always(noise));
  const auto shown = std::ranges::count_if(stream.results, [](auto& r) { return r.bits > 0; });
  EXPECT_GE(shown, 20);
  EXPECT_LE(shown, 30);
  const auto next = stream.put(start + 11s, text);
  EXPECT_GT(next.bits, 0);
}

// More than all that can be saved: better late than never, and paid for afterwards.
TEST(RateControl, ShowsAFrameThatCanNeverFitWhenAllIsSaved) {
  Stream stream(100'000);
  stream.play(start, 300s, 10, always(noise));
  const auto shown = std::ranges::count_if(stream.results, [](auto& r) { return r.bits > 0; });
  EXPECT_GE(shown, 9);
  EXPECT_LE(stream.bitsBetween(start, start + 300s), 1.25 * 300 * 100'000);
}

TEST(RateControl, AFrameAtRestTurnsSharpWithinASecond) {
  for (const double framesASecond : {5.0, 15.0, 30.0, 60.0}) {
    for (const auto& content : {text, photograph}) {
      Stream stream;
      stream.play(start, 3s, framesASecond, always(content));
      const auto last = stream.results.back();
      if (last.qp <= RateControl::qpTarget && last.bits > 0) continue;
      const auto wait = stream.control.refreshAfter();
      ASSERT_TRUE(wait);
      EXPECT_LE(*wait, 800ms);
      const auto repeat = stream.put(last.at + *wait, content, true);
      EXPECT_GT(repeat.bits, 0);
      EXPECT_LE(repeat.qp, RateControl::qpTarget);
      EXPECT_FALSE(stream.control.refreshAfter());
      EXPECT_LE(stream.mostIn(4s), 1.25 * 4 * rate);
    }
  }
}

TEST(RateControl, AFrameThatWasLeftOutIsAskedForUntilItIsShown) {
  Stream stream(400'000);
  stream.play(start, 3s, 30, always(noise));
  auto at = stream.results.back().at;
  int asked = 0;
  while (const auto wait = stream.control.refreshAfter()) {
    at += *wait;
    stream.put(at, noise, true);
    ASSERT_LE(++asked, 20);
  }
  EXPECT_GE(asked, 1);
  EXPECT_GT(stream.results.back().bits, 0);
}

TEST(RateControl, ARefreshedFrameIsNotAskedForAgainHoweverCoarse) {
  Stream stream;
  stream.play(start, 1s, 30, always(noise));
  stream.put(start + 2s, noise, true);
  EXPECT_GT(stream.results.back().qp, RateControl::qpTarget);
  EXPECT_FALSE(stream.control.refreshAfter());
}

TEST(RateControl, AChangeOfTheRateCountsFromThenOn) {
  Stream stream;
  stream.play(start, 5s, 30, always(text));
  stream.control.setBitRate(2'000'000);
  stream.play(start + 5s, 20s, 30, always(text));
  const double slow = stream.bitsBetween(start + 9s, start + 13s);
  EXPECT_LE(slow, 1.25 * 4 * 2e6);
  EXPECT_GE(slow, 0.75 * 4 * 2e6);
  stream.control.setBitRate(14'000'000);
  stream.play(start + 25s, 10s, 30, always(text));
  EXPECT_GE(stream.bitsBetween(start + 28s, start + 32s), 0.75 * 4 * 14e6);
}

TEST(RateControl, WithoutARateEveryFrameIsSharp) {
  RateControl control;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(control.begin(start + i * 1s, false), RateControl::qpTarget);
    EXPECT_EQ(control.judge(100'000'000).action, RateControl::Action::keep);
    EXPECT_FALSE(control.refreshAfter());
  }
}

TEST(RateControl, TimeStampsThatStandStillOrGoBackBringNothing) {
  Stream stream;
  stream.play(start, 1s, 30, always(text));
  double bits = 0;
  for (int i = 0; i < 100; ++i) bits += stream.put(start + 1s - i * 1ms, text).bits;
  EXPECT_LE(bits, rate * seconds(RateControl::savedAtMost));
}

// Whatever comes, in whatever order: no span of four seconds gets more than a quarter too much.
TEST(RateControl, NeverExceedsTheBudgetWhateverComes) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    std::mt19937 generator(seed);
    const auto draw = [&generator](double from, double to) {
      return std::uniform_real_distribution<double>(from, to)(generator);
    };
    const double bitRate = std::exp2(draw(21, 25));
    Stream stream(bitRate);
    auto at = start;
    Content content = text;
    for (int i = 0; i < 600; ++i) {
      // The coarsest always fits into what can be saved; what does not is a case of its own.
      if (draw(0, 1) < 0.05) content = {std::exp2(draw(12, 25)), draw(0.06, 0.18), 400};
      at += nanoseconds(std::llround(draw(0, 1) < 0.02 ? draw(0, 3e9) : draw(1e6, 2e8)));
      const bool wants = stream.control.refreshAfter().has_value();
      stream.put(at, content, wants && draw(0, 1) < 0.1);
    }
    const double largest = 8.0 * static_cast<double>(Content{std::exp2(25), 0.06, 400}.bytesAt(51));
    EXPECT_LE(stream.mostIn(4s), 1.25 * 4 * bitRate + std::max(0.0, largest - bitRate))
        << "seed " << seed;
    for (const auto& result : stream.results) EXPECT_LE(result.tries, 5) << "seed " << seed;
  }
}

}  // namespace
}  // namespace quorvin
