#include "webui/SessionTracker.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quorvin::webui {

namespace {

// The host refuses these starts before it touches a session that may be running already.
constexpr std::array<std::string_view, 3> refusals = {
    "consent_required", "screen_recording_required", "accessibility_required"};

bool refusesOnly(const FlutterError& error) {
  return std::ranges::find(refusals, error.code) != refusals.end();
}

}  // namespace

std::string_view nameOf(SessionState state) {
  switch (state) {
    case SessionState::idle:
      return "idle";
    case SessionState::starting:
      return "starting";
    case SessionState::live:
      return "live";
    case SessionState::ended:
      break;
  }
  return "ended";
}

std::uint64_t SessionTracker::startSent() {
  tried = true;
  lastError.reset();
  pendingStarts.insert(++lastCall);
  return lastCall;
}

void SessionTracker::startReplied(std::uint64_t start, const FlutterReply& reply) {
  if (pendingStarts.erase(start) == 0) return;
  if (const auto* error = std::get_if<FlutterError>(&reply)) {
    startFailed(*error);
  } else if (std::holds_alternative<Value>(reply)) {
    running = true;
    startedSession = start;
    lastError.reset();
    acceptedSettings = {};
  } else {
    startFailed({"not_available", "This host cannot share the screen.", {}});
  }
}

void SessionTracker::startFailed(const FlutterError& error) {
  if (refusesOnly(error)) {
    if (!running) lastError = error;
    return;
  }
  running = false;
  // A cancelled start was overtaken by another start or by a stop, which have their own outcome.
  if (error.code != "capture_cancelled") lastError = error;
}

std::uint64_t SessionTracker::stopSent() {
  return ++lastCall;
}

void SessionTracker::stopReplied(std::uint64_t stop, std::optional<FlutterError> why) {
  pendingStarts.erase(pendingStarts.begin(), pendingStarts.lower_bound(stop));
  running = false;
  lastError = std::move(why);
}

void SessionTracker::settingsAccepted(std::uint64_t session, Value settings) {
  if (running && session == startedSession) acceptedSettings = std::move(settings);
}

bool SessionTracker::streamFailed(const FlutterError& error) {
  if (error.code != "capture_stopped" && error.code != "capture_user_stopped") return false;
  running = false;
  lastError = error;
  return true;
}

SessionState SessionTracker::state() const {
  if (!pendingStarts.empty()) return SessionState::starting;
  if (running) return SessionState::live;
  return tried ? SessionState::ended : SessionState::idle;
}

bool SessionTracker::active() const {
  return running || !pendingStarts.empty();
}

}  // namespace quorvin::webui
