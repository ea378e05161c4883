#include "webui/tests/remote/RemoteSupportTest.h"

#include "webui/tests/TestLoop.h"

namespace quorvin::webui {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Log = std::vector<std::string>;

const json offer = {{"description", {{"type", "offer"}, {"sdp", "v=0"}}}};
const json lastCandidate = {{"candidate", nullptr}};

TEST_F(RemoteSupportTest, TellsAPageFirstOfAllWhatItIsConfiguredWith) {
  const auto first = pages.texts[page].front();
  EXPECT_EQ(first["event"], "remote");
  EXPECT_EQ(first["configured"], true);
  EXPECT_EQ(first["page"], "https://help.example/");
  EXPECT_EQ(first["problem"], nullptr);
  EXPECT_EQ(first["iceServers"], nullptr);
  EXPECT_EQ(first["sessions"], json::array());
}

TEST_F(RemoteSupportTest, WithoutABrokerSaysSoAndInvitesNobody) {
  support.reset();
  support = std::make_unique<RemoteSupport>(
      RemoteSupport::Outside{pages, nullptr, log, nullptr, systemRandom,
                             [this] {
                               return now;
                             }},
      std::nullopt, "remote.json: it has to be a file");
  pages.handlers.onOpened(page);
  pages.say(page, {What::invite});
  EXPECT_EQ(event()["configured"], false);
  EXPECT_EQ(event()["detail"], "remote.json: it has to be a file");
  EXPECT_EQ(event()["sessions"], json::array());
}

TEST_F(RemoteSupportTest, ShowsCodeAndLinkOnceThePlaceIsItsOwn) {
  pages.say(page, {What::invite});
  EXPECT_EQ(stage(), "preparing");
  EXPECT_EQ(session()["code"], "");
  EXPECT_EQ(session()["link"], "");
  broker.newest().reach(Reach::connecting);
  EXPECT_EQ(stage(), "preparing");
  broker.newest().reach(Reach::open);
  EXPECT_EQ(stage(), "waiting");
  EXPECT_EQ(session()["code"].get<std::string>().substr(0, 3), broker.newest().name.substr(0, 3));
  EXPECT_EQ(session()["link"].get<std::string>().find("https://help.example/#1."), 0U);
  EXPECT_FALSE(session()["qr"].empty());
  EXPECT_EQ(session()["expiresInMs"], 600'000);
  EXPECT_EQ(session()["sinceMs"], nullptr);
  EXPECT_EQ(logged(), Log{"invited"});
}

TEST_F(RemoteSupportTest, SaysWhatIsWrongWithTheBroker) {
  pages.say(page, {What::invite});
  for (const auto& [reach, name] : {std::pair(Reach::unreachable, "unreachable"),
                                    {Reach::certificateWrong, "certificateWrong"},
                                    {Reach::refused, "refused"}}) {
    broker.newest().reach(reach, "the broker's words");
    EXPECT_EQ(event()["problem"], name);
    EXPECT_EQ(event()["detail"], "the broker's words");
    EXPECT_EQ(stage(), "preparing");
  }
  broker.newest().reach(Reach::open);
  EXPECT_EQ(event()["problem"], nullptr);
  EXPECT_EQ(stage(), "waiting");
}

TEST_F(RemoteSupportTest, TriesEightPlacesAndThenDoesWithoutACode) {
  pages.say(page, {What::invite});
  for (int tried = 1; tried < RemoteSupport::placesMax; ++tried) {
    auto& before = broker.newest();
    before.reach(Reach::placeTaken);
    EXPECT_TRUE(before.left);
    EXPECT_NE(broker.newest().inbox, before.inbox);
    EXPECT_EQ(broker.newest().name.size(), 4U);
    EXPECT_EQ(stage(), "preparing");
  }
  broker.newest().reach(Reach::placeTaken);
  EXPECT_EQ(broker.newest().name, "");
  broker.newest().reach(Reach::open);
  EXPECT_EQ(broker.places.size(), 9U);
  EXPECT_EQ(session()["code"], "");
  auto supporter = TestSupporter::withLink(session()["link"]);
  introduce(supporter);
  EXPECT_EQ(stage(), "asking");
}

TEST_F(RemoteSupportTest, AsksByNameAndWithTheWordsToCompare) {
  auto supporter = invited();
  EXPECT_EQ(stage(), "asking");
  EXPECT_EQ(session()["name"], "Ann");
  EXPECT_EQ(session()["words"], json(supporter.words()));
  EXPECT_EQ(session()["code"], "");
  EXPECT_EQ(session()["expiresInMs"], 120'000);
  EXPECT_EQ(pages.admitted, Admitted());
  EXPECT_EQ(broker.newest().watched, std::vector<Nonce>{supporter.nonce()});
}

TEST_F(RemoteSupportTest, LetsTheGuestInWithWhatTheCustomerAllowed) {
  connected(Answer::watch);
  EXPECT_EQ(pages.admitted, (Admitted{{1, false}}));
  EXPECT_EQ(stage(), "connected");
  EXPECT_EQ(session()["control"], false);
  EXPECT_EQ(session()["words"], nullptr);
  connected(Answer::control);
  EXPECT_EQ(pages.admitted, (Admitted{{1, false}, {2, true}}));
  now += seconds(3);
  pages.say(page, {.what = What::control, .remote = 1, .is = true});
  EXPECT_EQ(pages.admitted, (Admitted{{1, true}, {2, true}}));
  EXPECT_EQ(session()["control"], true);
  EXPECT_EQ(session()["sinceMs"], 3000);
  pages.say(page, {.what = What::control, .remote = 2, .is = false});
  EXPECT_EQ(pages.admitted, (Admitted{{1, true}, {2, false}}));
}

TEST_F(RemoteSupportTest, GivesNoControlBeforeTheCustomerHasAllowed) {
  invited();
  pages.say(page, {.what = What::control, .remote = 1, .is = true});
  EXPECT_EQ(pages.admitted, Admitted());
  EXPECT_EQ(session()["control"], false);
}

TEST_F(RemoteSupportTest, TellsASupporterWhoIsRefusedSo) {
  auto refused = invited();
  pages.say(page, {What::answer, 1, Answer::refuse});
  EXPECT_EQ(told(refused)["type"], "refused");
  EXPECT_EQ(stage(), "refused");
  auto withdrawn = invited();
  pages.say(page, {What::end, 2});
  EXPECT_EQ(told(withdrawn)["type"], "refused");
  auto waiting = invited();
  pass(Invitation::questionFor);
  EXPECT_EQ(told(waiting)["type"], "refused");
  EXPECT_EQ(pages.admitted, Admitted());
  EXPECT_EQ(logged(), (Log{"invited", "asked", "refused customer", "invited", "asked",
                           "refused withdrawn", "invited", "asked", "refused unanswered"}));
}

TEST_F(RemoteSupportTest, WithdrawsAnInvitationAndTellsWhoComesLate) {
  invite();
  auto late = TestSupporter::withCode(session()["code"]);
  pages.say(page, {What::end, 1});
  EXPECT_EQ(stage(), "ended");
  broker.newest().deliver(late.join());
  EXPECT_EQ(told(late), "declined 6");
  EXPECT_EQ(logged().back(), "ended withdrawn");
}

TEST_F(RemoteSupportTest, QuestionOfASupporterWhoIsGoneIsWithdrawn) {
  invited();
  broker.newest().tellGone();
  EXPECT_EQ(stage(), "ended");
  pages.say(page, {What::answer, 1, Answer::control});
  EXPECT_EQ(pages.admitted, Admitted());
  EXPECT_EQ(logged().back(), "ended left");
}

TEST_F(RemoteSupportTest, CarriesSignalsBetweenTheCarrierAndTheSupporter) {
  pages.handlers.onOpened(page + 1);
  auto supporter = connected();
  EXPECT_EQ(session()["carrier"], true);
  EXPECT_EQ(session(0, page + 1)["carrier"], false);
  pages.say(page, {.what = What::signal, .remote = 1, .text = offer.dump()});
  EXPECT_EQ(told(supporter), (json{{"type", "signal"}, {"signal", offer}}));
  const auto count = broker.newest().sent.size();
  pages.say(page + 1, {.what = What::signal, .remote = 1, .text = offer.dump()});
  EXPECT_EQ(broker.newest().sent.size(), count);
  say(supporter, {{"type", "signal"}, {"signal", lastCandidate}});
  EXPECT_EQ(pages.last(page, "signal"),
            (json{{"event", "signal"}, {"remote", 1}, {"signal", lastCandidate}}));
  EXPECT_EQ(pages.last(page + 1, "signal"), nullptr);
}

TEST_F(RemoteSupportTest, PassesOnNothingButSignals) {
  auto supporter = connected(Answer::watch);
  for (const auto& message :
       {json::array(), json(1), json{{"type", "signal"}}, json{{"signal", offer}},
        json{{"type", 1}, {"signal", offer}}, json{{"type", "signal"}, {"signal", "offer"}},
        json{{"type", "signal"}, {"signal", json::object()}},
        json{{"type", "signal"}, {"signal", {{"candidate", {{"x", json::array()}}}}}},
        json{{"type", "signal"}, {"signal", {{"candidate", nullptr}, {"more", 1}}}},
        json{{"type", "signal"}, {"signal", {{"description", nullptr}}}},
        json{{"type", "allowed"}, {"control", true}}, json{{"remote", 1}, {"control", true}},
        json{{"control", true}}, json{{"method", "startCapture"}}}) {
    say(supporter, message);
    EXPECT_EQ(pages.last(page, "signal"), nullptr) << message;
  }
  broker.newest().deliver(supporter.seal(std::string(16'000, '[')));
  EXPECT_EQ(stage(), "connected");
  EXPECT_EQ(pages.admitted, (Admitted{{1, false}}));
}

TEST_F(RemoteSupportTest, EndsWhoSendsMoreSignalsThanABrowser) {
  auto supporter = connected();
  const json signal = {{"type", "signal"}, {"signal", lastCandidate}};
  for (int count = 0; count < RemoteSupport::signalsMax; ++count) say(supporter, signal);
  EXPECT_EQ(stage(), "connected");
  say(supporter, signal);
  EXPECT_EQ(stage(), "ended");
  EXPECT_EQ(pages.admitted, Admitted());
}

TEST_F(RemoteSupportTest, TellsASupporterWhoIsDisconnectedSo) {
  auto supporter = connected();
  pages.say(page, {What::end, 1});
  EXPECT_EQ(told(supporter), (json{{"type", "ended"}, {"why", "disconnected"}}));
  EXPECT_EQ(stage(), "ended");
  EXPECT_EQ(pages.admitted, Admitted());
  auto first = connected();
  pages.say(page, {What::stopAll});
  EXPECT_EQ(told(first), (json{{"type", "ended"}, {"why", "stopped"}}));
  auto second = connected();
  support.reset();
  EXPECT_EQ(told(second), (json{{"type", "ended"}, {"why", "gone"}}));
  EXPECT_TRUE(broker.newest().left);
  EXPECT_EQ(logged().back(), "ended gone");
}

TEST_F(RemoteSupportTest, SupporterMayLeave) {
  auto supporter = connected();
  say(supporter, {{"type", "leave"}});
  EXPECT_EQ(stage(), "ended");
  EXPECT_EQ(pages.admitted, Admitted());
  EXPECT_EQ(logged().back(), "ended left");
}

TEST_F(RemoteSupportTest, LostGuestIsPutOutAndMayResumeWithWhatItHad) {
  auto supporter = connected();
  pages.say(page, {.what = What::path, .remote = 1, .text = "direct"});
  EXPECT_EQ(session()["path"], "direct");
  pages.say(page, {What::lost, 1});
  EXPECT_EQ(stage(), "lost");
  EXPECT_EQ(session()["path"], nullptr);
  EXPECT_EQ(pages.admitted, Admitted());
  EXPECT_EQ(told(supporter), "declined 7");
  auto resuming = resumed(supporter);
  EXPECT_EQ(stage(), "connected");
  EXPECT_EQ(pages.admitted, (Admitted{{1, true}}));
  EXPECT_EQ(broker.newest().watched.back(), resuming.nonce());
  broker.newest().tellGone();
  EXPECT_EQ(stage(), "lost");
  pass(Invitation::lostFor);
  EXPECT_EQ(stage(), "gone");
  EXPECT_EQ(logged(), (Log{"invited", "asked", "allowed", "connected", "lost page", "resumed",
                           "lost left", "ended gone"}));
}

TEST_F(RemoteSupportTest, GoesOnWithoutTheSupportersBrokerWhileDataFlow) {
  connected();
  pages.say(page, {.what = What::path, .remote = 1, .text = "direct"});
  broker.newest().tellGone();
  EXPECT_EQ(stage(), "connected");
  EXPECT_EQ(pages.admitted, (Admitted{{1, true}}));
}

TEST_F(RemoteSupportTest, ControlThatWasTakenWhileLostStaysTaken) {
  auto supporter = connected();
  pages.say(page, {What::lost, 1});
  pages.say(page, {.what = What::control, .remote = 1, .is = false});
  EXPECT_EQ(pages.admitted, Admitted());
  resumed(supporter);
  EXPECT_EQ(pages.admitted, (Admitted{{1, false}}));
}

TEST_F(RemoteSupportTest, ResumptionThatNobodyExpectedMakesThePeerConnectionAnew) {
  auto supporter = connected();
  pages.texts[page].clear();
  resumed(supporter);
  std::vector<json> stages;
  for (const auto& text : pages.texts[page]) stages.push_back(text["sessions"][0]["stage"]);
  EXPECT_EQ(stages, (std::vector<json>{"lost", "connected"}));
}

TEST_F(RemoteSupportTest, AnotherPageBecomesTheCarrierWhenOneGoes) {
  pages.handlers.onOpened(page + 1);
  auto supporter = connected();
  pages.handlers.onClosed(page);
  EXPECT_EQ(session(0, page + 1)["carrier"], true);
  EXPECT_EQ(session(0, page + 1)["stage"], "lost");
  EXPECT_EQ(pages.admitted, Admitted());
  auto resuming = resumed(supporter);
  pages.say(page + 1, {.what = What::signal, .remote = 1, .text = offer.dump()});
  EXPECT_EQ(told(resuming)["signal"], offer);
}

TEST_F(RemoteSupportTest, PageThatComesBackIsTheCarrierAgain) {
  auto supporter = connected();
  pages.handlers.onClosed(page);
  resumed(supporter);
  pages.handlers.onOpened(page + 1);
  EXPECT_EQ(session(0, page + 1)["carrier"], true);
  pass(Invitation::lostFor);
  EXPECT_EQ(session(0, page + 1)["stage"], "connected");
}

TEST_F(RemoteSupportTest, EndsWhoeverHasNoCarrierForLong) {
  auto supporter = connected();
  pages.handlers.onClosed(page);
  auto resuming = resumed(supporter);
  EXPECT_EQ(pages.admitted, (Admitted{{1, true}}));
  pass(Invitation::lostFor - milliseconds(1));
  EXPECT_EQ(pages.admitted, (Admitted{{1, true}}));
  pass(milliseconds(1));
  EXPECT_EQ(pages.admitted, Admitted());
  EXPECT_EQ(told(resuming), (json{{"type", "ended"}, {"why", "gone"}}));
}

TEST_F(RemoteSupportTest, ShowsWhatIsOverForAMinuteOrUntilTheNextInvitation) {
  invite();
  pass(Invitation::validFor);
  EXPECT_EQ(stage(), "expired");
  pass(RemoteSupport::overShownFor - milliseconds(1));
  EXPECT_EQ(event()["sessions"].size(), 1U);
  EXPECT_FALSE(broker.newest().left);
  pass(milliseconds(1));
  EXPECT_EQ(event()["sessions"].size(), 0U);
  EXPECT_TRUE(broker.newest().left);
  invite();
  pages.say(page, {What::end, 2});
  EXPECT_EQ(event()["sessions"].size(), 1U);
  invite();
  EXPECT_EQ(event()["sessions"].size(), 1U);
  EXPECT_EQ(session()["id"], 3);
}

TEST_F(RemoteSupportTest, ThreeWrongCodesAreTooMany) {
  invite();
  std::string digits = session()["code"];
  digits.back() = digits.back() == '0' ? '1' : '0';
  for (int tried = 0; tried < Invitation::triesMax; ++tried) {
    auto guessing = TestSupporter::withCode(digits);
    introduce(guessing);
  }
  EXPECT_EQ(stage(), "tooManyTries");
  EXPECT_EQ(logged(), (Log{"invited", "ended tooManyTries"}));
}

TEST_F(RemoteSupportTest, HasFourSessionsAtATime) {
  for (std::size_t count = 1; count <= RemoteSupport::sessionsMax + 1; ++count) {
    pages.say(page, {What::invite});
    EXPECT_EQ(event()["sessions"].size(), std::min(count, RemoteSupport::sessionsMax));
    EXPECT_EQ(event()["full"], count >= RemoteSupport::sessionsMax);
  }
  pages.say(page, {What::end, 1});
  EXPECT_EQ(event()["sessions"].size(), RemoteSupport::sessionsMax);
  EXPECT_EQ(event()["full"], false);
}

TEST_F(RemoteSupportTest, NotifiesWhileNobodyLooksAtAPage) {
  const Notices expected{"Ann asks to see your screen", "Ann is connected",
                         "Ann can use your mouse and keyboard"};
  const auto everything = [this] {
    connected(Answer::watch);
    const auto id = event()["sessions"].back()["id"];
    pages.say(page, {.what = What::path, .remote = id, .text = "relayed"});
    pages.say(page, {.what = What::path, .remote = id, .text = "direct"});
    pages.say(page, {.what = What::control, .remote = id, .is = true});
    pages.say(page, {.what = What::control, .remote = id, .is = false});
    pages.say(page, {What::end, id});
  };
  everything();
  EXPECT_EQ(notices, expected);
  pages.handlers.onOpened(page + 1);
  pages.say(page + 1, {.what = What::front, .is = true});
  everything();
  EXPECT_EQ(notices, expected);
  pages.handlers.onClosed(page + 1);
  everything();
  EXPECT_EQ(notices.size(), 2 * expected.size());
  pages.say(page, {.what = What::front, .is = true});
  pages.say(page, {.what = What::front, .is = false});
  everything();
  EXPECT_EQ(notices.size(), 3 * expected.size());
}

TEST_F(RemoteSupportTest, LogsWhoMayDoWhatAndHow) {
  connected(Answer::watch);
  pages.say(page, {.what = What::path, .remote = 1, .text = "relayed"});
  pages.say(page, {.what = What::control, .remote = 1, .is = true});
  pages.say(page, {What::log});
  const auto entries = pages.last(page, "log")["entries"];
  EXPECT_EQ(entries, log.newest());
  EXPECT_EQ(entries[0], (json{{"time", "1970-01-01T00:00:00Z"},
                              {"event", "control"},
                              {"remote", 1},
                              {"name", "Ann"},
                              {"path", "relayed"},
                              {"control", true},
                              {"why", nullptr}}));
  EXPECT_EQ(logged(), (Log{"invited", "asked", "allowed", "connected", "control"}));
}

TEST_F(RemoteSupportTest, WakesByItselfWhenTimeIsUp) {
  invite();
  now += Invitation::validFor - milliseconds(1);
  pages.handlers.onOpened(page + 1);  // looks at the clock again
  now += milliseconds(1);
  EXPECT_TRUE(runUntil([this] { return stage() == "expired"; }));
}

}  // namespace
}  // namespace quorvin::webui
