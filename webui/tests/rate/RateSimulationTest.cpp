#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "tests/EnvironmentNumber.h"
#include "webui/tests/rate/SimulatedSession.h"

namespace quorvin::webui {
namespace {

constexpr double mbit = 125;  // bytes in a millisecond
constexpr int second = 1000;

// What is promised over any way is tried over many: QUORVIN_RATE_SEEDS says how many, and
// QUORVIN_FIRST_RATE_SEED where they begin.
void forSeeds(const std::function<void(std::uint64_t)>& promise) {
  const auto first = numberFromEnvironment("QUORVIN_FIRST_RATE_SEED").value_or(1);
  const auto count = numberFromEnvironment("QUORVIN_RATE_SEEDS").value_or(30);
  for (auto seed = first; seed < first + count; ++seed) {
    promise(seed);
    ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
  }
}

// A round trip of 20 to 80 ms.
SimulatedLink::Way wayOf(std::uint64_t seed, double mbps) {
  return {.bytesPerMs = mbps * mbit, .oneWayMs = 10 + static_cast<int>(seed % 7) * 5};
}

double usedShare(SimulatedSession& session, int milliseconds, double mbps) {
  const auto before = session.link.bytesCarried();
  session.run(milliseconds);
  const auto carried = static_cast<double>(session.link.bytesCarried() - before);
  return carried / (mbps * mbit * milliseconds);
}

std::string nameOf(const testing::TestParamInfo<Content>& content) {
  if (content.param == Content::typing) return "Typing";
  return content.param == Content::window ? "Window" : "Film";
}

class RateOf : public testing::TestWithParam<Content> {};

TEST_P(RateOf, FallsWithTheLinkSoThatLittleQueues) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session(wayOf(seed, 10), seed);
    session.show(GetParam());
    session.run(12 * second);
    session.link.setRate(2 * mbit);
    session.run(2 * second);
    session.forgetMeasured();
    session.run(30 * second);
    EXPECT_LE(percentile(session.queueing, 0.95), 200);
    EXPECT_GE(session.delays.size(), 30 * 8) << "frames drawn";
  });
}

TEST_P(RateOf, NeverShowsAnOlderFrameAfterANewerOne) {
  forSeeds([](std::uint64_t seed) {
    auto way = wayOf(seed, 4);
    way.loss = 0.02;
    SimulatedSession session(way, seed);
    session.show(GetParam());
    for (int fall = 0; fall < 3; ++fall) {
      session.run(3 * second);
      session.link.setRate(mbit * (fall == 0 ? 0.5 : 8));
    }
    EXPECT_TRUE(std::ranges::is_sorted(session.drawn, std::ranges::less_equal()));
    EXPECT_GT(session.drawn.size(), 20U);
  });
}

TEST_P(RateOf, ComesBackToAllThatWasChosenOnceNothingMoves) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session(wayOf(seed, 2), seed);
    session.show(GetParam());
    session.run(8 * second);
    EXPECT_EQ(session.controller.wish().steps > 0, GetParam() != Content::typing);
    session.show(Content::still);
    session.run(10 * second);
    EXPECT_EQ(session.controller.wish().steps, 0);
  });
}

INSTANTIATE_TEST_SUITE_P(All, RateOf,
                         testing::Values(Content::typing, Content::window, Content::film), nameOf);

class RateAt : public testing::TestWithParam<double> {};

TEST_P(RateAt, UsesFourFifthsOfALinkThatIsTooSmall) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session(wayOf(seed, GetParam()), seed);
    session.choose({.mbps = 20}, true);
    session.show(Content::film);
    session.run(12 * second);
    EXPECT_GE(usedShare(session, 15 * second, GetParam()), 0.8);
  });
}

INSTANTIATE_TEST_SUITE_P(Mbps, RateAt, testing::Values(1.0, 2.0, 5.0, 10.0));

TEST(RateSimulation, UsesFourFifthsWithoutH264AsWell) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session(wayOf(seed, 2), seed);
    session.choose({}, false);
    session.show(Content::film);
    session.run(12 * second);
    session.forgetMeasured();
    EXPECT_GE(usedShare(session, 15 * second, 2), 0.8);
    EXPECT_LE(percentile(session.queueing, 0.95), 350) << "two frames of up to 165";
    EXPECT_FALSE(session.controller.wish().videoMbps);
  });
}

TEST(RateSimulation, LargeFirstFramesLeaveNoQueueThatStays) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session(wayOf(seed, 2), seed);
    session.show(Content::film);
    session.run(6 * second);
    session.forgetMeasured();
    session.run(20 * second);
    EXPECT_LE(percentile(session.queueing, 0.95), 250);
  });
}

TEST(RateSimulation, GateDelaysNoTyping) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session({.bytesPerMs = (1 + static_cast<double>(seed % 10)) * mbit}, seed);
    session.show(Content::typing);
    session.run(4 * second);  // in which the first frame gets there, a whole file
    session.forgetMeasured();
    session.run(20 * second);
    EXPECT_EQ(percentile(session.held, 1), 0);
    EXPECT_GE(session.held.size(), 150U);
    EXPECT_EQ(session.changes, 0);
  });
}

TEST(RateSimulation, TypingOverALinkThatLosesOneInAHundredStaysQuick) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session({.loss = 0.01}, seed);
    session.show(Content::typing);
    session.run(4 * second);
    session.forgetMeasured();
    session.run(30 * second);
    EXPECT_LT(percentile(session.delays, 0.95), 120);
  });
}

TEST(RateSimulation, UsesALinkThatHasBecomeBetter) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session(wayOf(seed, 2), seed);
    session.choose({.mbps = 20}, true);
    session.show(Content::film);
    session.run(15 * second);
    session.link.setRate(10 * mbit);
    session.run(20 * second);
    EXPECT_GE(usedShare(session, 10 * second, 10), 0.8);
  });
}

TEST(RateSimulation, StepsUpStillMovingOnceTheLinkIsBetter) {
  forSeeds([](std::uint64_t seed) {
    SimulatedSession session(wayOf(seed, 2), seed);
    session.show(Content::window);
    session.run(15 * second);
    const auto before = session.controller.wish().steps;
    EXPECT_GE(before, 4);
    session.link.setRate(10 * mbit);
    session.run(40 * second);
    EXPECT_LE(session.controller.wish().steps, before / 2);
    EXPECT_LE(session.changes, 15);
  });
}

// What the promises above are worth depends on this: at a round trip of 40 ms and one packet lost
// in a hundred, SCTP carries 2.3 to 3.5 Mbit/s.
TEST(SimulatedLink, CarriesAboutWhatItsTransportCarriesOverLoss) {
  SimulatedLink link({.bytesPerMs = 50 * mbit, .loss = 0.01}, 7);
  link.send(1, 100'000'000);
  for (int ms = 0; ms < 60 * second; ++ms) (void)link.step();
  const double mbps = static_cast<double>(link.bytesCarried()) / 60'000 / mbit;
  EXPECT_GE(mbps, 2.3);
  EXPECT_LE(mbps, 3.5);
}

}  // namespace
}  // namespace quorvin::webui
