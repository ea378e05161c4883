#include "platform/linux/capture/CaptureSession.h"

#include <algorithm>
#include <cassert>
#include <cmath>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

// --- Settings

namespace {

// Beyond any display, and small enough that a frame's bytes can be counted in 32 bits.
constexpr std::int64_t longestSidePx = 16'384;
// X11 does not say how often a display shows a new frame; most do so this often.
constexpr MediaTime usualRefreshInterval{1, 60};
constexpr double longestIntervalSeconds = 3600;

Error invalid(const char* sentence) {
  return x11Error(X11ErrorCode::invalidParameter, sentence);
}

bool isSide(std::int64_t px) {
  return px >= 1 && px <= longestSidePx;
}

std::chrono::nanoseconds durationOf(MediaTime time) {
  if (time.value < 0 || time.timescale <= 0) {
    throw invalid("The frame interval of a capture must be a duration.");
  }
  if (time.value == 0) time = usualRefreshInterval;
  const double seconds =
      std::min(static_cast<double>(time.value) / time.timescale, longestIntervalSeconds);
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::duration<double>(seconds));
}

}  // namespace

PixelSize fittedInto(PixelSize box, PixelSize display) {
  const double scale = std::min({1.0, static_cast<double>(box.width) / display.width,
                                 static_cast<double>(box.height) / display.height});
  const auto scaled = [scale](int px) {
    return std::max(1, static_cast<int>(std::lround(scale * px)));
  };
  return {scaled(display.width), scaled(display.height)};
}

CaptureSettings checkedSettings(const StreamConfiguration& configuration) {
  if (!isSide(configuration.width) || !isSide(configuration.height)) {
    throw invalid("The picture of a capture must measure 1 to 16384 pixels each way.");
  }
  if (configuration.pixelFormat != pixelFormat32BGRA) {
    throw invalid("The only pixel format that a capture can deliver is BGRA.");
  }
  if (configuration.queueDepth < 1) {
    throw invalid("The queue of a capture must hold at least one picture.");
  }
  CaptureSettings settings;
  settings.frameSize = {static_cast<int>(configuration.width),
                        static_cast<int>(configuration.height)};
  settings.frameInterval = durationOf(configuration.minimumFrameInterval);
  settings.queueDepth = static_cast<std::size_t>(configuration.queueDepth);
  settings.showsCursor = configuration.showsCursor;
  return settings;
}

// --- Pace

void CapturePacer::setFrameInterval(std::chrono::nanoseconds interval) {
  frameInterval = interval;
  if (lastCaptureAt) notBefore = *lastCaptureAt + frameInterval;
}

CapturePacer::Decision CapturePacer::decide(CaptureTime now, bool changePending,
                                            bool canCapture) const {
  const CaptureTime pollAt = nextPollAt(changePending, canCapture);
  if (pollAt <= now) return {Action::poll, now};
  const CaptureTime idleAt = lastSampleAt + idleInterval;
  if (idleAt <= now) return {Action::idle, now};
  return {Action::wait, std::min(pollAt, idleAt)};
}

void CapturePacer::captured(CaptureTime now) {
  lastCaptureAt = now;
  lastPollAt = now;
  lastSampleAt = now;
  notBefore = now + frameInterval;
}

void CapturePacer::foundNothing(CaptureTime now) {
  lastPollAt = now;
  notBefore = now + emptyPollInterval;
}

CaptureTime CapturePacer::nextPollAt(bool changePending, bool canCapture) const {
  if (!canCapture) return CaptureTime::max();
  if (changePending) return notBefore;
  if (pollInterval) return std::max(notBefore, lastPollAt + *pollInterval);
  return CaptureTime::max();
}

// --- Session

namespace {

// Programs may put the pointer elsewhere without any device having moved, which nobody announces.
constexpr std::chrono::nanoseconds warpPollInterval = std::chrono::milliseconds(100);

// For so long a screen may refuse to be read, as it does while its size changes.
constexpr std::chrono::nanoseconds unreadableTimeout = std::chrono::seconds(2);

std::unique_ptr<X11DamageMonitor> makeDamageMonitor(X11Connection& connection,
                                                    const X11Extensions& extensions,
                                                    X11Transport transport) {
  if (!extensions.damage) return nullptr;
  const bool pixelsComeAlong = transport == X11Transport::replies;
  return std::make_unique<X11DamageMonitor>(
      connection, extensions, pixelsComeAlong ? DamageReport::something : DamageReport::bounds);
}

X11Server serverOf(const CaptureTarget& target) {
  auto listed = target.spare ? target.spare->take() : std::nullopt;
  return listed ? std::move(*listed) : X11Server(target.server);
}

}  // namespace

CaptureSession::CaptureSession(const CaptureTarget& target, const CaptureSettings& settings,
                               std::shared_ptr<EventFd> wakeup,
                               std::shared_ptr<CaptureCounters> counters, CaptureTime now)
    : server(serverOf(target)),
      configuredFor(target.displaySize),
      wakeup(std::move(wakeup)),
      counters(std::move(counters)),
      display(connection, extensions, target.display),
      transport(chooseTransport(connection, extensions)),
      damage(makeDamageMonitor(connection, extensions, transport)),
      reader(connection, transport, this->counters),
      composer(reader, damage.get(), this->wakeup),
      pacer(now, settings.frameInterval) {
  configure(settings);
}

void CaptureSession::configure(const CaptureSettings& newSettings) {
  settings = newSettings;
  if (!settings.showsCursor) {
    pointer.reset();
  } else if (!pointer) {
    pointer.emplace(connection, extensions);
  }
  pacer.setFrameInterval(settings.frameInterval);
  pacer.setPollInterval(pollInterval());
  applyDisplay();
}

CaptureStep CaptureSession::step(CaptureTime now) {
  assert(thread.isCurrent());
  handleEvents();
  trackDisplay(now);
  const bool canCapture = display.isPresent() && composer.canCompose();
  const auto decision = pacer.decide(now, hasNews(now), canCapture);
  CaptureStep result{CaptureStep::Outcome::nothing, {}, now, now, true};
  switch (decision.action) {
    case CapturePacer::Action::poll:
      result.frame = poll(now);
      if (result.frame) result.outcome = CaptureStep::Outcome::frame;
      break;
    case CapturePacer::Action::idle:
      pacer.idled(now);
      result.outcome = CaptureStep::Outcome::idle;
      break;
    case CapturePacer::Action::wait:
      // Waiting for a reply may have read further events off the connection, which then no longer
      // makes its descriptor readable.
      if (!drainEvents()) {
        result.wakeAt = std::min(decision.wakeAt, display.deadline());
        // A refresh that is due already waits for what the decision waits for.
        if (const auto due = refreshDueAt(); due > now)
          result.wakeAt = std::min(result.wakeAt, due);
        // A busy screen has much to tell between two frames.
        result.hearsServer = !(canCapture && hasNews(now));
      }
      break;
  }
  xcb_flush(connection.get());
  return result;
}

void CaptureSession::handleEvents() {
  static_cast<void>(drainEvents());
  if (connection.isBroken()) {
    throw x11Error(X11ErrorCode::serverLost, "The connection to the X server was lost.");
  }
}

bool CaptureSession::drainEvents() {
  bool any = false;
  while (const auto event = connection.pollEvent()) {
    any = true;
    display.handle(*event);
    if (damage) damage->handle(*event);
    if (pointer) pointer->handle(*event);
  }
  return any;
}

void CaptureSession::trackDisplay(CaptureTime now) {
  if (!display.update(now)) return;
  applyDisplay();
  composer.startOver();
}

void CaptureSession::applyDisplay() {
  const PixelRect& area = display.area();
  const PixelSize frameSize = area.size() == configuredFor
                                  ? settings.frameSize
                                  : fittedInto(settings.frameSize, area.size());
  composer.configure(area, frameSize, settings.queueDepth);
  // A new one would take the cursor for another.
  if (!placer || !placer->serves(area.size(), frameSize)) placer.emplace(area.size(), frameSize);
  frameDue = true;
}

bool CaptureSession::hasNews(CaptureTime now) const {
  return frameDue || refreshDueAt() <= now || composer.isPending() ||
         (pointer && pointer->isPending());
}

CaptureTime CaptureSession::refreshDueAt() const {
  return refresh ? refresh->dueAt() : CaptureTime::max();
}

std::optional<std::chrono::nanoseconds> CaptureSession::pollInterval() const {
  if (!damage) return settings.frameInterval;
  if (!pointer) return {};
  return pointer->hearsMotion() ? std::max(warpPollInterval, settings.frameInterval)
                                : settings.frameInterval;
}

std::shared_ptr<CapturedFrame> CaptureSession::poll(CaptureTime now) {
  ++counters->polls;
  // Both requests travel at once, and both replies count in any case.
  composer.requestDamage();
  if (pointer) pointer->request();
  const bool isScreenNew = composer.findDamage();
  const bool isCursorNew = cursorChanged();
  const bool isNew = isScreenNew || isCursorNew || frameDue;
  if (!isNew && refreshDueAt() > now) {
    pacer.foundNothing(now);
    return {};
  }
  return takeFrame(now, !isNew);
}

std::shared_ptr<CapturedFrame> CaptureSession::takeFrame(CaptureTime now, bool isRefresh) {
  auto frame = composer.compose(cursor);
  pacer.captured(now);
  frameDue = !frame;
  if (frame) {
    unreadableSince.reset();
    refresh = std::make_shared<RefreshRequest>(now, isRefresh, wakeup);
    frame->setRefreshRequest(refresh);
  } else {
    frameFailed(now);
  }
  return frame;
}

bool CaptureSession::cursorChanged() {
  std::optional<CursorPlacement> placement;
  if (pointer) {
    if (const auto now = pointer->current()) {
      placement = placer->place(now->image, now->x - display.area().x, now->y - display.area().y);
    }
  }
  const bool changed = placement != cursor;
  cursor = std::move(placement);
  return changed;
}

void CaptureSession::frameFailed(CaptureTime now) {
  if (!unreadableSince) unreadableSince = now;
  if (now - *unreadableSince < unreadableTimeout) return;
  throw x11Error(X11ErrorCode::unreadableScreen,
                 "The X server does not let this program read the screen.");
}

}  // namespace quorvin
