#include "webui/tests/SessionHubTest.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "webui/tests/TestJpeg.h"

namespace quorvin::webui {
namespace {

using nlohmann::json;

TEST_F(SessionHubTest, GreetsAPageWithTheStateOfTheSession) {
  const auto page = openPage();
  EXPECT_FALSE(page->waitForSession("idle").is_null());
}

TEST_F(SessionHubTest, RefusesAPageFromElsewhere) {
  const TestPage page(server.access().address(PageRole::customer), "http://example.com");
  EXPECT_FALSE(page.connected());
}

TEST_F(SessionHubTest, CarriesACallToTheHostAndItsAnswerBack) {
  host.answer("permissions", Map{{"screenRecording", true}, {"accessibility", false}});
  const auto page = openPage();
  page->send(R"({"id":7,"method":"permissions"})");
  EXPECT_EQ(page->waitFor({{"id", 7}}),
            json::parse(R"({"id":7,"result":{"accessibility":false,"screenRecording":true}})"));
  EXPECT_EQ(host.last("permissions")->channel, "com.quorvin.support/host");
}

TEST_F(SessionHubTest, KeepsTheTypesOfArguments) {
  const auto page = openPage();
  page->send(takesInput);
  page->send(R"({"id":7,"method":"injectInput","arguments":)"
             R"({"action":"scroll","dx":2,"dy":-0.5,"deep":[true,null]}})");
  ASSERT_TRUE(runUntil([&] { return host.count("injectInput") == 1; }));
  EXPECT_EQ(
      host.last("injectInput")->call.arguments,
      Value(Map{{"action", "scroll"}, {"deep", List{true, nullptr}}, {"dx", 2}, {"dy", -0.5}}));
}

TEST_F(SessionHubTest, CarriesErrorsAndUnknownMethodsBack) {
  host.answer("injectInput", FlutterError{"bad_input", "Invalid input event.", Map{{"code", 3}}});
  host.answer("createDesktopShortcut", FlutterMethodNotImplemented{});
  const auto page = openPage();
  page->send(takesInput);
  page->send(R"({"id":1,"method":"injectInput"})");
  page->send(R"({"id":2,"method":"createDesktopShortcut"})");
  const auto error = page->waitFor({{"id", 1}})["error"];
  EXPECT_EQ(error["code"], "bad_input");
  EXPECT_EQ(error["message"], "Invalid input event.");
  EXPECT_EQ(error["details"]["code"], 3);
  EXPECT_EQ(page->waitFor({{"id", 2}})["notImplemented"], true);
}

TEST_F(SessionHubTest, AnswersGoToThePageThatAsked) {
  const auto first = openPage();
  const auto second = openPage();
  first->send(R"({"id":5,"method":"permissions"})");
  ASSERT_TRUE(runUntil([&] { return host.count("permissions") == 1; }));
  host.reply(*host.last("permissions"), Value("for the first"));
  EXPECT_EQ(first->waitFor({{"id", 5}})["result"], "for the first");
  settle(*second);
  EXPECT_TRUE(second->find({{"id", 5}}).is_null());
}

TEST_F(SessionHubTest, PageThatLeavesWithACallOpenHarmsNothing) {
  auto page = openPage();
  page->send(R"({"id":5,"method":"permissions"})");
  ASSERT_TRUE(runUntil([&] { return host.count("permissions") == 1; }));
  page->vanish();
  ASSERT_TRUE(runUntil([&] { return host.count("cancel") == 1; }));
  host.reply(*host.last("permissions"), Value());
  const auto next = openPage();
  settle(*next);
}

TEST_F(SessionHubTest, HostilePagesGetErrorsAndNothingReachesTheHost) {
  const auto page = openPage();
  ASSERT_TRUE(runUntil([&] { return host.count("listen") == 1; }));
  const std::string deep(50'000, '[');
  for (const auto& text : {std::string("{"), std::string("[]"), std::string(R"({"ack":-5})"), deep,
                           std::string(R"({"id":1,"method":"listen"})")}) {
    page->texts.clear();
    page->send(text);
    ASSERT_TRUE(runUntil([&] { return !page->texts.empty(); })) << text.substr(0, 50);
    EXPECT_EQ(page->texts.back()["error"]["code"], "bad_message");
  }
  page->texts.clear();
  page->sendBinary({1, 2, 3});
  ASSERT_TRUE(runUntil([&] { return !page->texts.empty(); }));
  EXPECT_EQ(page->texts.back()["error"]["code"], "bad_message");
  EXPECT_EQ(host.calls().size(), 1U);
}

TEST_F(SessionHubTest, HugeMessageClosesOnlyThePageThatSentIt) {
  const auto page = openPage();
  const auto other = openPage();
  page->send("\"" + std::string(pageMessageBytesMax, 'x') + "\"");
  EXPECT_TRUE(runUntil([&] { return page->closed; }));
  settle(*other);
}

TEST_F(SessionHubTest, CallsThatAreNeverAnsweredDoNotPileUp) {
  const auto page = openPage();
  for (int id = 0; id < 100; ++id) {
    page->send(R"({"id":)" + std::to_string(id) + R"(,"method":"permissions"})");
  }
  settle(*page);
  ASSERT_TRUE(runUntil([&] { return host.count("permissions") >= 64; }));
  EXPECT_EQ(host.count("permissions"), 64U);
  EXPECT_EQ(page->find({{"id", 99}})["error"]["code"], "bad_message");
}

TEST_F(SessionHubTest, EveryPageSeesTheSameSession) {
  const auto customer = openPage();
  const auto supporter = openPage();
  customer->send(startCall);
  EXPECT_FALSE(supporter->waitForSession("starting").is_null());
  ASSERT_TRUE(runUntil([&] { return host.count("startCapture") == 1; }));
  EXPECT_EQ(host.last("startCapture")->call.arguments, Value(Map{{"locallyAuthorized", true}}));
  host.reply(*host.last("startCapture"), Value());
  EXPECT_FALSE(supporter->waitForSession("live").is_null());
  const auto late = openPage();
  EXPECT_FALSE(late->waitForSession("live").is_null());
  supporter->send(stopCall);
  EXPECT_TRUE(customer->waitForSession("ended")["error"].is_null());
}

TEST_F(SessionHubTest, FailedStartTellsEveryPageWhy) {
  host.answer("startCapture", FlutterError{"capture_failed", "The display is gone.", {}});
  const auto page = openPage();
  const auto other = openPage();
  page->send(startCall);
  EXPECT_EQ(page->waitFor({{"id", 1}})["error"]["code"], "capture_failed");
  EXPECT_EQ(other->waitForSession("ended")["error"]["message"], "The display is gone.");
}

TEST_F(SessionHubTest, StreamErrorEndsTheSessionOnEveryPage) {
  const auto page = openLivePage();
  host.sendStreamError({"capture_stopped", "No more frames.", Map{{"code", -1}}});
  const auto error = page->waitFor({{"event", "error"}});
  EXPECT_EQ(error["code"], "capture_stopped");
  EXPECT_EQ(error["details"]["code"], -1);
  EXPECT_EQ(page->waitForSession("ended")["error"]["code"], "capture_stopped");
}

TEST_F(SessionHubTest, AcceptedSettingsAreShownToEveryPage) {
  const auto page = openLivePage();
  const auto other = openPage();
  host.answer("configureStream", Value());
  page->send(R"({"id":9,"method":"configureStream","arguments":{"fps":10}})");
  EXPECT_EQ(other->waitFor({{"event", "state"}, {"settings", {{"fps", 10}}}})["session"], "live");
}

TEST_F(SessionHubTest, RefusedSettingsChangeNothing) {
  const auto page = openLivePage();
  host.answer("configureStream", FlutterError{"bad_stream_settings", "Invalid.", {}});
  page->send(R"({"id":9,"method":"configureStream","arguments":{"fps":1000}})");
  EXPECT_EQ(page->waitFor({{"id", 9}})["error"]["code"], "bad_stream_settings");
  EXPECT_TRUE(page->find({{"event", "state"}})["settings"].is_null());
}

TEST_F(SessionHubTest, PageThatDoesNotAcknowledgeGetsTheFirstPicturesThenTheNewest) {
  const auto page = openLivePage();
  for (std::uint8_t number = 1; number <= 100; ++number) host.sendFrame({0xFF, 0xD8, number});
  ASSERT_TRUE(runUntil([&] { return page->frames.size() > 1; }));
  EXPECT_EQ(page->frames.back(), (Bytes{0xFF, 0xD8, 2}));
  // The answer to a call overtakes the frames that wait.
  host.answer("permissions", Value());
  page->send(R"({"id":50,"method":"permissions"})");
  EXPECT_FALSE(page->waitFor({{"id", 50}}).is_null());
  EXPECT_EQ(page->frames.size(), 2U);
  page->send(R"({"ack":1})");
  ASSERT_TRUE(runUntil([&] { return page->frames.size() > 2; }));
  EXPECT_EQ(page->frames.back(), (Bytes{0xFF, 0xD8, 100}));
  settle(*page);
  EXPECT_EQ(page->frames.size(), 3U);
}

TEST_F(SessionHubTest, LargePictureArrivesUnchangedAndAnnounced) {
  const auto page = openLivePage();
  Bytes picture(3'000'000);
  for (std::size_t index = 0; index < picture.size(); ++index) {
    picture[index] = static_cast<std::uint8_t>(index * 31 / 7);
  }
  // More than the socket holds: the main loop must read while the host writes.
  const auto frame = encodeEventLinkFrame("com.quorvin.support/frames", Data(Bytes(picture)));
  constexpr std::size_t piece = 60'000;
  for (std::size_t start = 0; start < frame.size(); start += piece) {
    host.sendBytes(std::span(frame).subspan(start, std::min(piece, frame.size() - start)));
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
  }
  ASSERT_TRUE(runUntil([&] { return !page->frames.empty(); }));
  EXPECT_EQ(page->frames.back(), picture);
}

TEST_F(SessionHubTest, SlowPageDoesNotHoldUpAQuickOne) {
  const auto slow = openLivePage();
  const auto quick = openPage();
  quick->send(showsBoth);
  settle(*quick);
  for (std::uint8_t number = 1; number <= 20; ++number) {
    host.sendFrame({number});
    ASSERT_TRUE(runUntil([&] { return quick->frames.size() == number; }));
    quick->send(R"({"ack":1})");
    settle(*quick);
  }
  EXPECT_EQ(slow->frames.size(), 2U);
}

TEST_F(SessionHubTest, PageThatComesLateGetsTheNewestPictureWithItsAge) {
  const auto first = openLivePage();
  host.sendFrame({1});
  host.sendFrame({2});
  ASSERT_TRUE(runUntil([&] { return !first->frames.empty(); }));
  settle(*first);
  const auto late = openPage();
  const auto someAge = std::chrono::milliseconds(5);
  const auto later = FrameClock::now() + someAge;
  ASSERT_TRUE(runUntil([&] { return FrameClock::now() >= later; }));
  late->send(showsBoth);
  ASSERT_TRUE(runUntil([&] { return !late->frames.empty(); }));
  EXPECT_EQ(late->frames.back(), (Bytes{2}));
  EXPECT_GE(late->find({{"event", "frame"}})["ageMs"], someAge.count());
}

TEST_F(SessionHubTest, PageThatShowsNoPictureGetsNone) {
  const auto page = openLivePage();
  const auto other = openPage();
  host.sendFrame({1});
  ASSERT_TRUE(runUntil([&] { return !page->frames.empty(); }));
  settle(*other);
  EXPECT_TRUE(other->frames.empty());
}

TEST_F(SessionHubTest, NoPictureOutlivesItsSession) {
  const auto page = openLivePage();
  for (std::uint8_t number = 1; number <= 3; ++number) host.sendFrame({number});
  ASSERT_TRUE(runUntil([&] { return page->frames.size() > 1; }));
  page->send(stopCall);
  ASSERT_FALSE(page->waitForSession("ended").is_null());
  page->send(R"({"ack":1})");
  settle(*page);
  EXPECT_EQ(page->frames.size(), 2U);
}

// A file in two versions that differ in one segment.
TestJpeg textWith(std::uint8_t filling) {
  TestJpeg jpeg;
  jpeg.segments.assign(4, Bytes(60, 7));
  jpeg.segments[1] = {filling};
  return jpeg;
}

TEST_F(SessionHubTest, EachPageGetsWhatHasChangedForIt) {
  const auto first = openLivePage();
  host.sendFrame(textWith(1).file());
  ASSERT_TRUE(runUntil([&] { return first->frames.size() == 1; }));
  const auto late = openPage();
  late->send(showsBoth);
  ASSERT_TRUE(runUntil([&] { return late->frames.size() == 1; }));
  host.sendFrame(textWith(2).file());
  ASSERT_TRUE(runUntil([&] { return first->frames.size() == 2 && late->frames.size() == 2; }));
  EXPECT_EQ(first->frames[0], textWith(1).file());
  EXPECT_EQ(late->frames[0], textWith(1).file());
  EXPECT_EQ(first->frames[1], (Bytes{'Q', 'N', 'D', 'J', 0, 0, 0, 1, 0, 0, 0, 4,    0,   0,
                                     0,   1,   0,   0,   0, 1, 0, 0, 0, 3, 2, 0xFF, 0xD1}));
  EXPECT_EQ(first->frames[1], late->frames[1]);
}

TEST_F(SessionHubTest, PageThatCannotUseADeltaGetsTheWholeFrame) {
  const auto page = openLivePage();
  page->send(R"({"whole":true})");
  settle(*page);
  EXPECT_TRUE(page->frames.empty()) << "there is none yet";
  host.sendFrame(textWith(1).file());
  ASSERT_TRUE(runUntil([&] { return page->frames.size() == 1; }));
  page->send(R"({"whole":true})");
  ASSERT_TRUE(runUntil([&] { return page->frames.size() == 2; }));
  EXPECT_EQ(page->frames[1], textWith(1).file());
}

TEST_F(SessionHubTest, NoDeltaBuildsOnASessionBefore) {
  const auto page = openLivePage();
  host.sendFrame(textWith(1).file());
  ASSERT_TRUE(runUntil([&] { return page->frames.size() == 1; }));
  page->send(R"({"ack":1})");
  page->send(stopCall);
  ASSERT_FALSE(page->waitForSession("ended").is_null());
  page->texts.clear();
  page->send(startCall);
  ASSERT_FALSE(page->waitForSession("live").is_null());
  host.sendFrame(textWith(2).file());
  ASSERT_TRUE(runUntil([&] { return page->frames.size() == 2; }));
  EXPECT_EQ(page->frames[1], textWith(2).file());
}

TEST_F(SessionHubTest, ListensWhileAPageIsOpenOrASessionRuns) {
  EXPECT_EQ(host.calls().size(), 0U);
  auto page = openLivePage();
  EXPECT_EQ(host.count("listen"), 1U);
  EXPECT_EQ(host.last("listen")->channel, "com.quorvin.support/frames");
  page->close();
  ASSERT_TRUE(runUntil([&] { return page->closed; }));
  page = openPage();
  page->send(stopCall);
  ASSERT_FALSE(page->waitForSession("ended").is_null());
  EXPECT_EQ(host.count("listen"), 1U);
  EXPECT_EQ(host.count("cancel"), 0U);
  page->close();
  ASSERT_TRUE(runUntil([&] { return host.count("cancel") == 1; }));
}

TEST_F(SessionHubTest, AsksWhetherTheHostRunsUnattended) {
  host.answer("capabilities", Map{{"unattended", true}});
  std::optional<bool> answer;
  hub.askWhetherUnattended([&](bool unattended) { answer = unattended; });
  ASSERT_TRUE(runUntil([&] { return answer.has_value(); }));
  EXPECT_TRUE(*answer);
  host.answer("capabilities", FlutterMethodNotImplemented{});
  answer.reset();
  hub.askWhetherUnattended([&](bool unattended) { answer = unattended; });
  ASSERT_TRUE(runUntil([&] { return answer.has_value(); }));
  EXPECT_FALSE(*answer);
}

TEST_F(SessionHubTest, ClosedLinkIsReportedOnceWithoutAReason) {
  const auto page = openPage();
  host.closeLink();
  ASSERT_TRUE(runUntil([&] { return linkClosed.has_value(); }));
  EXPECT_EQ(*linkClosed, "");
  linkClosed.reset();
  page->send(R"({"id":5,"method":"permissions"})");
  settle(*page);
  EXPECT_FALSE(linkClosed);
}

TEST_F(SessionHubTest, BrokenLinkIsReportedWithItsReason) {
  host.sendBytes(Bytes{1, 0, 0, 0, 0});
  ASSERT_TRUE(runUntil([&] { return linkClosed.has_value(); }));
  EXPECT_NE(*linkClosed, "");
}

TEST_F(SessionHubTest, ReplyToNothingBreaksTheLink) {
  host.send({LinkFrameType::reply, 99, {}, {}});
  ASSERT_TRUE(runUntil([&] { return linkClosed.has_value(); }));
  EXPECT_NE(*linkClosed, "");
}

TEST_F(SessionHubTest, SecondReplyToACallBreaksTheLink) {
  int answers = 0;
  hub.askWhetherUnattended([&answers](bool) { ++answers; });
  ASSERT_TRUE(runUntil([&] { return host.count("capabilities") == 1; }));
  const auto call = *host.last("capabilities");
  host.reply(call, Value());
  host.reply(call, Value());
  ASSERT_TRUE(runUntil([&] { return linkClosed.has_value(); }));
  EXPECT_EQ(answers, 1);
}

TEST_F(SessionHubTest, UnreadableEventsAndOtherChannelsHarmNothing) {
  const auto page = openLivePage();
  host.send({LinkFrameType::message, 0, "com.quorvin.support/frames", Data(Bytes{0xFF})});
  host.send({LinkFrameType::message, 0, "com.quorvin.support/frames", {}});
  const std::string text = "AppLifecycleState.hidden";
  host.send(
      {LinkFrameType::message, 0, "flutter/lifecycle", Data(Bytes(text.begin(), text.end()))});
  host.sendFrame({1});
  EXPECT_TRUE(runUntil([&] { return !page->frames.empty(); }));
  EXPECT_FALSE(linkClosed);
}

class QuickAbsenceTest : public SessionHubTest {
 protected:
  QuickAbsenceTest() : SessionHubTest(std::chrono::milliseconds(1)) {}
};

TEST_F(QuickAbsenceTest, SessionThatNobodyCanStopIsStopped) {
  auto page = openLivePage();
  const auto supporter = openPage();
  supporter->send(R"({"show":{"customer":false,"picture":true}})");
  settle(*supporter);
  EXPECT_EQ(host.count("stopCapture"), 0U);
  page->vanish();
  EXPECT_EQ(supporter->waitForSession("ended")["error"]["code"], "customer_absent");
  EXPECT_EQ(host.count("stopCapture"), 1U);
}

TEST_F(QuickAbsenceTest, SessionIsStoppedWhenTheLastPageIsClosed) {
  auto page = openLivePage();
  page->close();
  EXPECT_TRUE(runUntil([&] { return host.count("stopCapture") == 1; }));
  EXPECT_TRUE(runUntil([&] { return host.count("cancel") == 1; }));
}

TEST_F(SessionHubTest, ReloadedPageKeepsTheSession) {
  auto page = openLivePage();
  page->close();
  ASSERT_TRUE(runUntil([&] { return page->closed; }));
  page = openPage();
  page->send(showsBoth);
  settle(*page);
  EXPECT_FALSE(page->waitForSession("live").is_null());
  EXPECT_EQ(host.count("stopCapture"), 0U);
}

}  // namespace
}  // namespace quorvin::webui
