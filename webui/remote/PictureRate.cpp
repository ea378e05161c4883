#include "webui/remote/PictureRate.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace quorvin::webui {
namespace {

template <typename T>
void read(const Map& settings, std::string_view key, T& setting) {
  const auto* entry = settings.find(key);
  const auto* value = entry != nullptr ? entry->as<T>() : nullptr;
  if (value != nullptr) setting = *value;
}

// What is no number, or no more than this, stays: the host says what is wrong.
void limit(MapEntry& entry, std::string_view key, std::int64_t most) {
  const auto* name = entry.key.as<std::string>();
  const auto* value = entry.value.as<std::int64_t>();
  if (name != nullptr && *name == key && value != nullptr && *value > most) entry.value = most;
}

void limit(MapEntry& entry, const PictureWish& wish) {
  limit(entry, "max_width", wish.width);
  limit(entry, "fps", wish.fps);
  limit(entry, "jpeg_quality", wish.quality);
  if (!wish.videoMbps) return;
  limit(entry, "bitrate_mbps", *wish.videoMbps);
  const auto* name = entry.key.as<std::string>();
  if (name != nullptr && *name == "codec" && entry.value == Value("jpeg")) entry.value = "h264";
}

}  // namespace

PictureRate::Guest::Guest(PictureRate& all, std::function<void()> onDue)
    : all(all), onDue(std::move(onDue)) {
  controller.choose(all.chosen, all.mayBeVideo);
  all.guests.insert(this);
  if (all.reviews.isActive()) return;
  all.reviews = MainLoopSource::onTimeout(nullptr, all.timing.reviewInterval,
                                          MainLoopSource::whileTrue([&all] {
                                            all.review();
                                            return true;
                                          }));
}

PictureRate::Guest::~Guest() {
  all.guests.erase(this);
  if (all.guests.empty()) all.reviews.cancel();
}

void PictureRate::Guest::offered(bool waits) {
  controller.offered(waits, all.timing.now());
  if (waits) awaitOpening();
}

void PictureRate::Guest::sent(std::size_t bytes, std::size_t wholeBytes) {
  opening.cancel();
  controller.sent(bytes, wholeBytes, all.timing.now());
}

void PictureRate::Guest::acknowledged(std::int64_t frames) {
  controller.acknowledged(frames, all.timing.now());
  if (controller.frameWaits()) awaitOpening();
}

void PictureRate::Guest::awaitOpening() {
  const auto delay = controller.opensIn(all.timing.now());
  if (!delay) return;
  opening = MainLoopSource::onTimeout(nullptr, *delay, MainLoopSource::once([this] { onDue(); }));
}

const Map& PictureRate::hostDefaults() {
  static const Map defaults{{"profile", "balanced"}, {"show_cursor", true}, {"codec", "jpeg"},
                            {"max_width", 1920},     {"max_height", 1200},  {"fps", 30},
                            {"bitrate_mbps", 7},     {"jpeg_quality", 72},  {"queue_depth", 3}};
  return defaults;
}

PictureRate::PictureRate(std::function<void()> onReview, Timing timing)
    : onReview(std::move(onReview)), timing(std::move(timing)) {}

void PictureRate::choose(const Value& settings, bool possible) {
  const auto* map = settings.as<Map>();
  std::string codec = "jpeg";
  chosen = {};
  mayBeVideo = possible;
  if (map != nullptr) {
    read(*map, "profile", chosen.profile);
    read(*map, "max_width", chosen.width);
    read(*map, "fps", chosen.fps);
    read(*map, "jpeg_quality", chosen.quality);
    read(*map, "bitrate_mbps", chosen.mbps);
    read(*map, "codec", codec);
  }
  chosen.video = codec == "h264";
  for (auto* guest : guests) guest->controller.choose(chosen, mayBeVideo);
}

Value PictureRate::reduced(const Value& settings) const {
  const auto* map = settings.isNull() ? &hostDefaults() : settings.as<Map>();
  if (map == nullptr) return settings;
  Map less;
  for (auto entry : map->entries()) {
    for (const auto* guest : guests) limit(entry, guest->controller.wish());
    less.append(std::move(entry.key), std::move(entry.value));
  }
  return less;
}

int PictureRate::steps() const {
  int most = 0;
  for (const auto* guest : guests) most = std::max(most, guest->controller.wish().steps);
  return most;
}

void PictureRate::review() {
  for (auto* guest : guests) (void)guest->controller.review(timing.now());
  onReview();
}

}  // namespace quorvin::webui
