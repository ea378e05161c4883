#include "webui/remote/RateController.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quorvin::webui {
namespace {

constexpr double rateMin = 8e3;
constexpr double stretchMin = 0.1;
constexpr double growthOfAStretch = 1.25;
constexpr double rateDecay = 0.5;
constexpr double driftOfASecond = 0.1;

constexpr double littleQueueing = 0.04;
constexpr std::chrono::seconds window{10};  // for the shortest round trip
constexpr std::chrono::seconds doubtMax{2};

constexpr double pace = 1.1;    // so that a greater rate is found
constexpr double slack = 0.01;  // seconds that a frame may go early, so that the way is never idle
constexpr double alwaysAllowed = 16e3;

}  // namespace

// --- The gate

double RateController::backlogAt(Time now) const {
  return std::max(0.0, backlog - secondsBetween(backlogSince, now) * pace * rate);
}

bool RateController::hasRoom() const {
  if (unacknowledged.empty()) return true;
  if (empties) return false;
  return unacknowledged.size() < 2 ||
         unacknowledgedBytes < std::max(alwaysAllowed, 1.25 * rate * shortest);
}

bool RateController::open(Time now) const {
  return hasRoom() && backlogAt(now) <= slack * rate;
}

std::optional<std::chrono::milliseconds> RateController::opensIn(Time now) const {
  if (!hasRoom()) return std::nullopt;
  const double seconds = (backlogAt(now) - slack * rate) / (pace * rate);
  return std::chrono::milliseconds(
      static_cast<std::int64_t>(std::ceil(1000 * std::max(0.0, seconds))));
}

void RateController::offered(bool waits, Time now) {
  holds = waits;
  stretchHeld = stretchHeld || holds;
  ladder.offered(holds, now);
}

void RateController::sent(std::size_t bytes, std::size_t wholeBytes, Time now) {
  const auto size = static_cast<double>(bytes);
  if (unacknowledged.empty()) {
    const std::chrono::duration<double> roundTrip(shortestBare);
    stretchSince += now - idleSince + std::chrono::duration_cast<Time::duration>(roundTrip);
    idleSince = now;
  }
  backlog = backlogAt(now) + size;
  backlogSince = now;
  unacknowledged.push_back({size, now});
  unacknowledgedBytes += size;
  holds = false;
  ladder.sent(size, static_cast<double>(wholeBytes), now);
}

// --- What acknowledgements tell

void RateController::acknowledged(std::int64_t frames, Time now) {
  for (; frames > 0 && !unacknowledged.empty(); --frames) {
    learnRoundTrip(unacknowledged.front(), now);
    stretchBytes += unacknowledged.front().bytes;
    unacknowledgedBytes -= unacknowledged.front().bytes;
    unacknowledged.pop_front();
  }
  backlog = std::min(backlogAt(now), unacknowledgedBytes);
  backlogSince = now;
  if (unacknowledged.empty()) {
    idleSince = now;
    empties = false;
  }
  learnRate(now);
}

void RateController::learnRoundTrip(const Sent& frame, Time now) {
  const double roundTrip = secondsBetween(frame.at, now);
  roundTrips.push_back({roundTrip, frame.bytes, now});
  while (now - roundTrips.front().at > window) roundTrips.pop_front();
  shortest = shortestBare = roundTrip;
  for (const auto& [seconds, bytes, at] : roundTrips) {
    shortest = std::min(shortest, seconds);
    shortestBare = std::min(shortestBare, seconds - std::min(bytes / rate, 0.75 * seconds));
  }
  queueing = roundTrip - shortest;
  const bool doubtful =
      queueing < littleQueueing && roundTrip - shortestBare - frame.bytes / rate >= littleQueueing;
  empties = empties || now - idleSince > (doubtful ? doubtMax : window);
}

void RateController::learnRate(Time now) {
  const double seconds = secondsBetween(stretchSince, now);
  if (seconds < stretchMin) return;
  const double seen = stretchBytes / seconds;
  if (seen > rate) {
    rate = std::min(seen, rate * std::pow(growthOfAStretch, seconds / stretchMin));
  } else if (stretchHeld && queueing >= littleQueueing) {
    rate += (seen - rate) * (1 - std::exp(-seconds / rateDecay));
  }
  rate = std::max(rate, rateMin);
  stretchSince = now;
  stretchBytes = 0;
  stretchHeld = holds;
}

// --- Settings

bool RateController::review(Time now) {
  // Nothing tells that more would fit while less than fits is asked for, except trying.
  const double seconds = std::min(1.0, secondsBetween(reviewed, now));
  reviewed = now;
  if (wish().steps > 0 && !holds && queueing < littleQueueing) {
    rate = std::max(rate, std::min(rate * (1 + driftOfASecond * seconds), 2 * ladder.used()));
  }
  return ladder.review(rate, now);
}

}  // namespace quorvin::webui
