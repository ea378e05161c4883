#include "platform/linux/video/RateControl.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvin {

namespace {

constexpr double bitsPerByte = 8;
constexpr int mostTries = 4;
// A frame after so long a pause is taken for one that stands alone and is worth a second try.
constexpr std::chrono::milliseconds pause{200};
// A second try aims lower than the limit, for it should be the last.
constexpr double caution = 0.9;
// What uses less of what it may spend than this could have been much finer.
constexpr double underuse = 0.6;

// How the bits of a frame fall with the QP, as shares of those at QP 0. Measured on frames of a
// desktop: half as many every fifteen steps at low QPs and every six at high ones. Other contents
// fall faster, which the next try or frame corrects.
constexpr double logarithmicFall = 0.065;
constexpr int fallSteepensAt = 32;
constexpr double steepening = 0.0072;

std::array<double, RateControl::qpMax + 1> makeShares() {
  std::array<double, RateControl::qpMax + 1> shares{};
  double exponent = 0;
  for (int qp = 0; qp <= RateControl::qpMax; ++qp) {
    shares.at(static_cast<std::size_t>(qp)) = std::exp2(exponent);
    exponent -= logarithmicFall + steepening * std::max(qp - fallSteepensAt, 0);
  }
  return shares;
}

double shareOf(int qp) {
  static const auto shares = makeShares();
  return shares.at(static_cast<std::size_t>(qp));
}

}  // namespace

void RateControl::setBitRate(std::int64_t bitsPerSecond) {
  const auto newRate = static_cast<double>(bitsPerSecond);
  const double saved = rate > 0 ? level / rate : std::chrono::duration<double>(savedAtMost).count();
  rate = newRate;
  level = saved * rate;
}

std::optional<int> RateControl::begin(std::chrono::nanoseconds timeStamp, bool isRefresh) {
  frame = {};
  frame.isRefresh = isRefresh;
  if (rate <= 0) {
    frame.qp = qpTarget;
    return qpTarget;
  }
  const std::chrono::nanoseconds elapsed =
      lastTimeStamp ? std::max(timeStamp - *lastTimeStamp, std::chrono::nanoseconds(0))
                    : savedAtMost;
  lastTimeStamp = timeStamp;
  const double income = bitsIn(elapsed);
  level = std::min(level + income, bitsIn(savedAtMost));
  frame.isFirstAfterPause = elapsed >= pause;
  // What the reserve lacks is saved up again out of half the income.
  frame.spendable =
      isRefresh ? level : std::min(level, std::max(level - bitsIn(reserve), income / 2));
  if (estimateOf(qpMax) > frame.spendable && !isFull()) return {};
  frame.qp = lowestQpWithin(frame.spendable);
  return frame.qp;
}

RateControl::Verdict RateControl::judge(std::size_t bytes) {
  const double bits = static_cast<double>(bytes) * bitsPerByte;
  ++frame.tries;
  complexity = bits / shareOf(frame.qp);
  if (rate <= 0) return keep(bits);
  if (!fits(bits)) return judgeTooLarge(bits);
  const bool couldBeFiner = frame.qp > qpTarget && bits < underuse * frame.spendable;
  if ((frame.isRefresh || frame.isFirstAfterPause) && couldBeFiner && !frame.fitting) {
    frame.fitting = frame.qp;
    const int finer = lowestQpWithin(caution * frame.spendable);
    if (finer < frame.qp) return tryAgain(finer);
  }
  return keep(bits);
}

RateControl::Verdict RateControl::judgeTooLarge(double bits) {
  if (frame.fitting) return tryAgain(*frame.fitting);
  if (frame.qp < qpMax) {
    const int estimated = lowestQpWithin(caution * frame.spendable);
    const bool isLastTry = frame.tries + 1 >= mostTries;
    return tryAgain(isLastTry ? qpMax : std::max(estimated, frame.qp + 1));
  }
  // Whatever does not fit into all that can be saved will never fit. It is paid for later.
  if (bits <= level || isFull()) return keep(bits);
  return {Action::drop, 0};
}

RateControl::Verdict RateControl::tryAgain(int qp) {
  frame.qp = qp;
  return {Action::encodeAgain, qp};
}

RateControl::Verdict RateControl::keep(double bits) {
  if (rate > 0) level -= bits;
  frame.isKept = true;
  return {};
}

std::optional<std::chrono::nanoseconds> RateControl::refreshAfter() const {
  if (rate <= 0) return {};
  if (frame.isKept && (frame.isRefresh || frame.qp <= qpTarget)) return {};
  return restTime;
}

double RateControl::bitsIn(std::chrono::nanoseconds duration) const {
  return rate * std::chrono::duration<double>(duration).count();
}

double RateControl::estimateOf(int qp) const {
  return complexity * shareOf(qp);
}

int RateControl::lowestQpWithin(double bits) const {
  int qp = qpMin;
  while (qp < qpMax && estimateOf(qp) > bits) ++qp;
  return qp;
}

bool RateControl::isFull() const {
  constexpr double almostAll = 0.999;
  return level >= almostAll * bitsIn(savedAtMost);
}

bool RateControl::fits(double bits) const {
  return bits <= std::min(level, frame.spendable + bitsIn(reserve) / 2);
}

}  // namespace quorvin
