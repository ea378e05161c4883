#include <gtest/gtest.h>

#include "webui/SessionTracker.h"

namespace quorvin::webui {
namespace {

const FlutterReply done = Value();

FlutterError failure(const char* code) {
  return {code, "Something went wrong.", {}};
}

SessionTracker liveSession() {
  SessionTracker session;
  session.startReplied(session.startSent(), done);
  return session;
}

TEST(SessionTracker, FollowsASessionFromStartToStop) {
  SessionTracker session;
  EXPECT_EQ(session.state(), SessionState::idle);
  EXPECT_FALSE(session.active());
  const auto start = session.startSent();
  EXPECT_EQ(session.state(), SessionState::starting);
  EXPECT_TRUE(session.active());
  session.startReplied(start, done);
  EXPECT_EQ(session.state(), SessionState::live);
  session.stopReplied(session.stopSent());
  EXPECT_EQ(session.state(), SessionState::ended);
  EXPECT_FALSE(session.error());
}

TEST(SessionTracker, KeepsWhyAStartFailed) {
  SessionTracker session;
  session.startReplied(session.startSent(), failure("screen_recording_required"));
  EXPECT_EQ(session.state(), SessionState::ended);
  ASSERT_TRUE(session.error());
  EXPECT_EQ(session.error()->code, "screen_recording_required");
  const auto start = session.startSent();
  EXPECT_FALSE(session.error());
  session.startReplied(start, failure("capture_failed"));
  EXPECT_EQ(session.error()->code, "capture_failed");
}

TEST(SessionTracker, RefusedStartLeavesARunningSessionAlone) {
  auto session = liveSession();
  session.startReplied(session.startSent(), failure("consent_required"));
  EXPECT_EQ(session.state(), SessionState::live);
}

TEST(SessionTracker, FailedRestartEndsTheSessionItReplaced) {
  auto session = liveSession();
  session.startReplied(session.startSent(), failure("capture_failed"));
  EXPECT_EQ(session.state(), SessionState::ended);
}

TEST(SessionTracker, StopOvertakesTheStartsBeforeIt) {
  SessionTracker session;
  const auto start = session.startSent();
  session.stopReplied(session.stopSent());
  EXPECT_EQ(session.state(), SessionState::ended);
  session.startReplied(start, failure("capture_cancelled"));
  EXPECT_EQ(session.state(), SessionState::ended);
  EXPECT_FALSE(session.error());
}

TEST(SessionTracker, StartAfterAStopIsNotOvertakenByIt) {
  auto session = liveSession();
  const auto stop = session.stopSent();
  const auto start = session.startSent();
  session.stopReplied(stop);
  EXPECT_EQ(session.state(), SessionState::starting);
  session.startReplied(start, done);
  EXPECT_EQ(session.state(), SessionState::live);
}

TEST(SessionTracker, SecondStartCancelsTheFirstWithoutAnError) {
  SessionTracker session;
  const auto first = session.startSent();
  const auto second = session.startSent();
  session.startReplied(first, failure("capture_cancelled"));
  EXPECT_EQ(session.state(), SessionState::starting);
  session.startReplied(second, done);
  EXPECT_EQ(session.state(), SessionState::live);
  EXPECT_FALSE(session.error());
}

TEST(SessionTracker, StreamErrorEndsTheSession) {
  for (const auto* code : {"capture_stopped", "capture_user_stopped"}) {
    auto session = liveSession();
    EXPECT_TRUE(session.streamFailed(failure(code)));
    EXPECT_EQ(session.state(), SessionState::ended);
    EXPECT_EQ(session.error()->code, code);
  }
}

TEST(SessionTracker, UnknownStreamErrorChangesNothing) {
  auto session = liveSession();
  EXPECT_FALSE(session.streamFailed(failure("hiccup")));
  EXPECT_EQ(session.state(), SessionState::live);
}

TEST(SessionTracker, HostWithoutTheMethodCannotShare) {
  SessionTracker session;
  session.startReplied(session.startSent(), FlutterMethodNotImplemented{});
  EXPECT_EQ(session.state(), SessionState::ended);
  EXPECT_TRUE(session.error());
}

TEST(SessionTracker, SettingsBelongToTheSessionTheyWereMadeIn) {
  auto session = liveSession();
  const auto number = session.sessionNumber();
  session.settingsAccepted(number, Map{{"fps", 10}});
  EXPECT_EQ(session.settings(), Value(Map{{"fps", 10}}));
  session.startReplied(session.startSent(), done);
  EXPECT_TRUE(session.settings().isNull());
  session.settingsAccepted(number, Map{{"fps", 10}});
  EXPECT_TRUE(session.settings().isNull());
}

}  // namespace
}  // namespace quorvin::webui
