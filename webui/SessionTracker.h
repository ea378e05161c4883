#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string_view>

#include "platform/Flutter.h"

namespace quorvin::webui {

enum class SessionState : std::uint8_t { idle, starting, live, ended };

[[nodiscard]] std::string_view nameOf(SessionState state);

// What the host's session is doing, as far as its replies and stream errors tell, so that every
// page can be shown the same. The host handles calls in the order they were sent and answers in
// any order, except that it answers "stopCapture" at once.
class SessionTracker {
 public:
  // One call of "startCapture"; its number goes back in with the reply.
  [[nodiscard]] std::uint64_t startSent();
  void startReplied(std::uint64_t start, const FlutterReply& reply);

  // One call of "stopCapture" that the host has answered with success; `why` is what pages are
  // told afterwards, nothing for an ordinary stop.
  [[nodiscard]] std::uint64_t stopSent();
  void stopReplied(std::uint64_t stop, std::optional<FlutterError> why = std::nullopt);

  // The session that "configureStream" was sent in, and the settings that were accepted.
  [[nodiscard]] std::uint64_t sessionNumber() const { return startedSession; }
  void settingsAccepted(std::uint64_t session, Value settings);

  // Whether the error ended the session.
  bool streamFailed(const FlutterError& error);

  [[nodiscard]] SessionState state() const;
  [[nodiscard]] bool active() const;
  // Why the last session ended by itself or did not begin.
  [[nodiscard]] const std::optional<FlutterError>& error() const { return lastError; }
  // The settings in force, or null for the host's own defaults.
  [[nodiscard]] const Value& settings() const { return acceptedSettings; }

 private:
  void startFailed(const FlutterError& error);

  std::uint64_t lastCall = 0;
  std::set<std::uint64_t> pendingStarts;  // those that no stop has overtaken
  bool running = false;
  bool tried = false;
  std::uint64_t startedSession = 0;
  std::optional<FlutterError> lastError;
  Value acceptedSettings;
};

}  // namespace quorvin::webui
