#include "platform/linux/video/RateControl.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvin {

namespace {

constexpr double bitsPerByte = 8;
constexpr int mostTries = 4;
// A picture after so long a pause is taken for one that stands alone and is worth a second try.
constexpr std::chrono::milliseconds pause{200};
// A second try aims lower than the limit, for it should be the last.
constexpr double caution = 0.9;
// What uses less of what it may spend than this could have been much finer.
constexpr double underuse = 0.6;

// How the bits of a picture fall with the quantiser, by shares of those at quantiser 0. Measured
// on pictures of a desktop: half as many every fifteen steps while they are fine and every six
// when they are coarse. Other contents fall faster, which the next try or picture corrects.
constexpr double logarithmicFall = 0.065;
constexpr int fallSteepensAt = 32;
constexpr double steepening = 0.0072;

std::array<double, RateControl::coarsest + 1> makeShares() {
  std::array<double, RateControl::coarsest + 1> shares{};
  double exponent = 0;
  for (int quantiser = 0; quantiser <= RateControl::coarsest; ++quantiser) {
    shares.at(static_cast<std::size_t>(quantiser)) = std::exp2(exponent);
    exponent -= logarithmicFall + steepening * std::max(quantiser - fallSteepensAt, 0);
  }
  return shares;
}

double shareOf(int quantiser) {
  static const auto shares = makeShares();
  return shares.at(static_cast<std::size_t>(quantiser));
}

}  // namespace

void RateControl::setBitRate(std::int64_t bitsPerSecond) {
  const auto newRate = static_cast<double>(bitsPerSecond);
  const double saved = rate > 0 ? level / rate : std::chrono::duration<double>(savedAtMost).count();
  rate = newRate;
  level = saved * rate;
}

std::optional<int> RateControl::begin(std::chrono::nanoseconds timeStamp, bool isRepeat) {
  picture = {};
  picture.isRepeat = isRepeat;
  if (rate <= 0) {
    picture.quantiser = sharp;
    return sharp;
  }
  const std::chrono::nanoseconds elapsed =
      lastTimeStamp ? std::max(timeStamp - *lastTimeStamp, std::chrono::nanoseconds(0))
                    : savedAtMost;
  lastTimeStamp = timeStamp;
  const double income = bitsIn(elapsed);
  level = std::min(level + income, bitsIn(savedAtMost));
  picture.isFirstAfterPause = elapsed >= pause;
  // What the reserve lacks is saved up again out of half the income.
  picture.spendable =
      isRepeat ? level : std::min(level, std::max(level - bitsIn(reserve), income / 2));
  if (estimateOf(coarsest) > picture.spendable && !isFull()) return {};
  picture.quantiser = finestWithin(picture.spendable);
  return picture.quantiser;
}

RateControl::Verdict RateControl::judge(std::size_t bytes) {
  const double bits = static_cast<double>(bytes) * bitsPerByte;
  ++picture.tries;
  complexity = bits / shareOf(picture.quantiser);
  if (rate <= 0) return keep(bits);
  if (!fits(bits)) return judgeTooLarge(bits);
  const bool couldBeFiner = picture.quantiser > sharp && bits < underuse * picture.spendable;
  if ((picture.isRepeat || picture.isFirstAfterPause) && couldBeFiner && !picture.fitting) {
    picture.fitting = picture.quantiser;
    const int finer = finestWithin(caution * picture.spendable);
    if (finer < picture.quantiser) return tryAgain(finer);
  }
  return keep(bits);
}

RateControl::Verdict RateControl::judgeTooLarge(double bits) {
  if (picture.fitting) return tryAgain(*picture.fitting);
  if (picture.quantiser < coarsest) {
    const int estimated = finestWithin(caution * picture.spendable);
    const bool isLastTry = picture.tries + 1 >= mostTries;
    return tryAgain(isLastTry ? coarsest : std::max(estimated, picture.quantiser + 1));
  }
  // Whatever does not fit into all that can be saved will never fit. It is paid for later.
  if (bits <= level || isFull()) return keep(bits);
  return {Action::drop, 0};
}

RateControl::Verdict RateControl::tryAgain(int quantiser) {
  picture.quantiser = quantiser;
  return {Action::encodeAgain, quantiser};
}

RateControl::Verdict RateControl::keep(double bits) {
  if (rate > 0) level -= bits;
  picture.isKept = true;
  return {};
}

std::optional<std::chrono::nanoseconds> RateControl::repeatAfter() const {
  if (rate <= 0) return {};
  if (picture.isKept && (picture.isRepeat || picture.quantiser <= sharp)) return {};
  return restTime;
}

double RateControl::bitsIn(std::chrono::nanoseconds duration) const {
  return rate * std::chrono::duration<double>(duration).count();
}

double RateControl::estimateOf(int quantiser) const {
  return complexity * shareOf(quantiser);
}

int RateControl::finestWithin(double bits) const {
  int quantiser = finest;
  while (quantiser < coarsest && estimateOf(quantiser) > bits) ++quantiser;
  return quantiser;
}

bool RateControl::isFull() const {
  constexpr double almostAll = 0.999;
  return level >= almostAll * bitsIn(savedAtMost);
}

bool RateControl::fits(double bits) const {
  return bits <= std::min(level, picture.spendable + bitsIn(reserve) / 2);
}

}  // namespace quorvin
