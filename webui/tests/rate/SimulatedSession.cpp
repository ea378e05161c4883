#include "webui/tests/rate/SimulatedSession.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quorvin::webui {
namespace {

constexpr double typed = 300;
constexpr double movedWindow = 30'600;
constexpr double wholeText = 300'000;
constexpr double wholeFilm = 140'000;
// A picture by itself cannot be coded in less.
constexpr double videoFrameMin = 15'000;

constexpr int hostTakesMs = 60;  // for new settings
constexpr int reviewMs = 250;

Frame frameOf(std::uint64_t number) {
  Bytes bytes(sizeof number);
  std::memcpy(bytes.data(), &number, sizeof number);
  return {Data(std::move(bytes)), {}};
}

std::uint64_t numberOf(const Frame& frame) {
  std::uint64_t number = 0;
  std::memcpy(&number, frame.payload.data(), sizeof number);
  return number;
}

}  // namespace

double percentile(std::vector<double> values, double share) {
  if (values.empty()) return 0;
  std::ranges::sort(values);
  return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
}

SimulatedSession::SimulatedSession(SimulatedLink::Way way, std::uint64_t seed)
    : link(way, seed), random(seed + 1), flow([this] { return controller.open(time()); }) {
  controller.choose(chosen, true);
}

void SimulatedSession::forgetMeasured() {
  queueing.clear();
  delays.clear();
  held.clear();
}

double SimulatedSession::noise(double share) {
  return std::uniform_real_distribution<double>(1 - share, 1 + share)(random);
}

void SimulatedSession::run(int milliseconds) {
  for (const int end = now + milliseconds; now < end; ++now) {
    if (now >= nextCapture) capture();
    if (const auto opens = controller.opensIn(time()); opens && opens->count() == 0) {
      if (const auto frame = flow.due()) send(*frame);
    }
    draw();
    if (now % reviewMs == 0) review();
    queueing.push_back(link.queueingMs());
  }
}

void SimulatedSession::capture() {
  const double perSecond =
      content == Content::typing ? 10 : std::min<double>(30, static_cast<double>(wish.fps));
  nextCapture = now + 1000 / perSecond * noise(content == Content::typing ? 0.5 : 0.1);
  if (content == Content::still) return;
  if (wish.videoMbps) {
    // What cannot be coded in so few bytes is left out by the host.
    const double least = videoFrameMin * std::pow(static_cast<double>(wish.width) / 1920, 2);
    const double perFrame = static_cast<double>(*wish.videoMbps) * 1e6 / 8 / perSecond;
    if (perFrame < least && link.chance(1 - perFrame / least)) return;
  }
  const auto frame = frameOf(++captured);
  capturedAt[captured] = now;
  const auto next = flow.offer(frame);
  controller.offered(!next, time());
  if (next) send(*next);
}

double SimulatedSession::wholeSize() const {
  const double whole = content == Content::film ? wholeFilm : wholeText;
  return whole * static_cast<double>(wish.quality) / 72 *
         std::pow(static_cast<double>(wish.width) / 1920, 2);
}

std::size_t SimulatedSession::sizeOf(std::uint64_t number) {
  double size = 0;
  if (wish.videoMbps) {
    const double least = videoFrameMin * std::pow(static_cast<double>(wish.width) / 1920, 2);
    size = std::max(least, static_cast<double>(*wish.videoMbps) * 1e6 / 8 /
                               std::min<double>(30, static_cast<double>(wish.fps)));
  } else {
    const double shrunk = wholeSize() / (content == Content::film ? wholeFilm : wholeText);
    const bool otherHead = lastSent == 0 || lastSentAs.videoMbps ||
                           lastSentAs.quality != wish.quality || lastSentAs.width != wish.width;
    // A window that was moved further leaves more behind.
    const auto missed = static_cast<double>(std::min<std::uint64_t>(number - lastSent, 2));
    if (content == Content::film || otherHead)
      size = wholeSize();
    else if (content == Content::window)
      size = movedWindow * shrunk * (0.7 + 0.3 * missed);
    else
      size = random() % 30 == 0 ? 1400 : typed;
  }
  return static_cast<std::size_t>(size * noise(0.2));
}

void SimulatedSession::send(const Frame& frame) {
  const auto number = numberOf(frame);
  const auto bytes = sizeOf(number);
  lastSent = number;
  lastSentAs = wish;
  controller.sent(bytes, wish.videoMbps ? bytes : static_cast<std::size_t>(wholeSize()), time());
  held.push_back(now - capturedAt[number]);
  sentBytes[number] = bytes;
  link.send(number, bytes);
}

void SimulatedSession::draw() {
  for (const auto number : link.step()) {
    // Decoding, and waiting for the next animation frame.
    const double takes = 2 + static_cast<double>(sentBytes[number]) / 20e3 + 8 * noise(1);
    drawsUntil = std::max(drawsUntil, now) + static_cast<int>(takes);
    drawing.emplace(drawsUntil, number);
  }
  while (!drawing.empty() && drawing.begin()->first <= now) {
    const auto number = drawing.begin()->second;
    drawing.erase(drawing.begin());
    drawn.push_back(number);
    delays.push_back(now - capturedAt[number]);
    acknowledgements.emplace(now + link.oneWayMs(), number);
  }
  while (!acknowledgements.empty() && acknowledgements.begin()->first <= now) {
    acknowledgements.erase(acknowledgements.begin());
    controller.acknowledged(1, time());
    if (const auto frame = flow.acknowledge(1)) send(*frame);
  }
}

void SimulatedSession::review() {
  if (controller.review(time())) {
    asked.emplace_back(now + hostTakesMs, controller.wish());
    ++changes;
  }
  while (!asked.empty() && asked.front().first <= now) {
    wish = asked.front().second;
    asked.pop_front();
  }
}

}  // namespace quorvin::webui
