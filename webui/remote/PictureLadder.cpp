#include "webui/remote/PictureLadder.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvin::webui {
namespace {

constexpr double pause = 2;  // seconds between two changes
constexpr double patienceMin = 4;
constexpr double patienceMax = 60;
constexpr double failedSoon = 15;

constexpr double tightMin = 0.5;
constexpr double tightShare = 1.2;
constexpr double allOver = 0.4;    // of a whole file
constexpr double roomShare = 0.8;  // of the rate, for a way up
constexpr double calmSeconds = 3;
constexpr double calmShare = 0.8;

std::int64_t wholeMbps(double bytesPerSecond, double share) {
  const auto mbps = static_cast<std::int64_t>(std::ceil(share * bytesPerSecond * 8 / 1e6 - 0.05));
  return std::clamp<std::int64_t>(mbps, 1, 20);
}

}  // namespace

void PictureLadder::choose(const ChosenPicture& picture, bool mayBeVideo) {
  if (picture.video != chosen.video || (!mayBeVideo && !picture.video)) videoMbps.reset();
  chosen = picture;
  videoPossible = mayBeVideo;
  if (chosen.video) videoMbps = std::min(chosen.mbps, videoMbps.value_or(chosen.mbps));
  steps.clear();
  const auto add = [this](std::int64_t PictureWish::*setting, std::int64_t before, double power,
                          std::initializer_list<std::int64_t> values) {
    for (const auto value : values) {
      if (value >= before) continue;
      const double ratio = static_cast<double>(value) / static_cast<double>(before);
      steps.push_back({setting, value, std::pow(ratio, power)});
      before = value;
    }
  };
  const auto addFrames = [&] {
    add(&PictureWish::fps, chosen.fps, 1, {30, 20, 15, 10});
  };
  if (chosen.profile == "sharp") addFrames();
  add(&PictureWish::quality, chosen.quality, 1, {72, 60, 50, 40});
  add(&PictureWish::width, chosen.width, 2, {1920, 1600, 1280});
  if (chosen.profile != "sharp") addFrames();
  taken = std::min(taken, steps.size());
  makeWish();
}

// --- What is known

void PictureLadder::fade(RateTime now) {
  const double left = std::exp(-secondsBetween(faded, now));
  faded = now;
  for (auto* sum : {&recent.offered, &recent.held, &recent.sent, &recent.bytes, &recent.wholeBytes})
    *sum *= left;
}

void PictureLadder::offered(bool waits, RateTime now) {
  fade(now);
  recent.offered += 1;
  if (waits) recent.held += 1;
}

void PictureLadder::sent(double bytes, double wholeBytes, RateTime now) {
  fade(now);
  ++sentTight;
  recent.sent += 1;
  recent.bytes += bytes;
  recent.wholeBytes += wholeBytes;
}

double PictureLadder::demand() const {
  return recent.sent > 0 ? recent.offered * recent.bytes / recent.sent : 0;
}

double PictureLadder::wholeFrame() const {
  return recent.sent > 0 ? recent.wholeBytes / recent.sent : 0;
}

// --- Steps

bool PictureLadder::review(double rate, RateTime now) {
  fade(now);
  const bool tight = recent.held > 0.5 * recent.offered && demand() > tightShare * rate;
  if (!tight) {
    tightSince = now;
    sentTight = 0;
  }
  const auto before = wished;
  if (secondsBetween(lastChange, now) >= pause) {
    if (videoMbps) {
      reviewVideo(rate, now);
    } else {
      reviewPictures(rate, now);
    }
    makeWish();
  }
  return wished != before;
}

void PictureLadder::reviewPictures(double rate, RateTime now) {
  const double tightFor = secondsBetween(tightSince, now);
  if (tightFor >= tightMin) {
    if (sentTight >= 2) stepDown(rate, now);
  } else if (taken > 0 && tightFor == 0) {
    stepUp(rate, now);
  }
}

void PictureLadder::stepDown(double rate, RateTime now) {
  if (videoPossible && recent.bytes > allOver * recent.wholeBytes) {
    videoMbps = std::min(chosen.mbps, wholeMbps(rate, 0.8));
    taken = 0;
    busySince = now;
    changed(false, now);
    return;
  }
  double ratio = 1;
  double fileRatio = 0;  // of a whole file, where one is needed
  auto next = taken;
  for (; next < steps.size() && demand() * ratio > rate; ++next) {
    ratio *= steps[next].ratio;
    if (steps[next].setting != &PictureWish::fps) fileRatio = ratio;
  }
  const double cost = wholeFrame() * fileRatio / rate;
  if (next == taken || secondsBetween(tightSince, now) < 2 * cost) return;
  taken = next;
  changed(false, now);
}

void PictureLadder::stepUp(double rate, RateTime now) {
  double ratio = 1;
  auto next = taken;
  while (next > 0 && demand() * ratio / steps[next - 1].ratio < roomShare * rate) {
    ratio /= steps[--next].ratio;
  }
  if (next == taken || secondsBetween(lastChange, now) < patience) return;
  taken = next;
  changed(true, now);
}

void PictureLadder::reviewVideo(double rate, RateTime now) {
  const bool calm = recent.offered < calmShare * static_cast<double>(wished.fps);
  if (!calm) busySince = now;
  if (!chosen.video && secondsBetween(busySince, now) >= std::max(calmSeconds, patience - 1)) {
    videoMbps.reset();
    changed(true, now);
    return;
  }
  const auto lower = wholeMbps(rate, 0.9);
  const auto higher = std::min(chosen.mbps, wholeMbps(rate, 0.8));
  const bool waits = recent.held > 0.2 * recent.offered;
  if ((waits && lower < *videoMbps) || higher > *videoMbps) {
    videoMbps = std::min(lower, std::max(higher, *videoMbps));
    lastChange = now;
  }
}

void PictureLadder::changed(bool up, RateTime now) {
  if (!up && lastUp) {
    const bool failed = secondsBetween(*lastUp, now) < failedSoon;
    patience = failed ? std::min(2 * patience, patienceMax) : patienceMin;
  }
  lastUp = up ? std::optional(now) : std::nullopt;
  lastChange = tightSince = now;
}

void PictureLadder::makeWish() {
  wished = {chosen.width, chosen.fps, chosen.quality, videoMbps, static_cast<int>(taken)};
  for (std::size_t index = 0; index < taken; ++index) {
    wished.*steps[index].setting = steps[index].value;
  }
  if (!videoMbps || (chosen.video && *videoMbps == chosen.mbps)) return;
  ++wished.steps;
  // So that a frame by itself has enough bytes to be looked at.
  if (*videoMbps > 4) return;
  wished.width = std::min<std::int64_t>(wished.width, *videoMbps > 2 ? 1600 : 1280);
  wished.fps = std::min<std::int64_t>(wished.fps, *videoMbps > 2 ? 20 : 15);
}

}  // namespace quorvin::webui
