// A supporter on another computer, from the invitation to the guest's page: who may rule it, and
// what ends it.

#include <string>

#include "tests/TemporaryFolder.h"
#include "webui/remote/RemoteSupport.h"
#include "webui/tests/SessionHubTest.h"
#include "webui/tests/remote/FakeSignalling.h"
#include "webui/tests/trust/TestSupporter.h"

namespace quorvin::webui {
namespace {

constexpr const char* keyDown =
    R"({"id":70,"method":"injectInput","arguments":{"action":"keyDown","keyCode":56}})";

class SessionHubRemoteTest : public SessionHubTest {
 protected:
  SessionHubRemoteTest() {
    host.answer("injectInput", Value());
    host.answer("releaseInput", Value());
  }

  // A customer's page with a supporter, whom it has let in with this answer.
  std::unique_ptr<TestPage> openPageWithSupporter(const std::string& answer) {
    auto page = openPage();
    page->send(R"({"invite":true})");
    EXPECT_TRUE(runUntil([this] { return !broker.places.empty(); }));
    auto& place = broker.newest();
    place.reach(Reach::open);
    EXPECT_TRUE(runUntil([&] { return stage(*page) == "waiting"; }));
    supporter.emplace(TestSupporter::withCode(remote(*page)["code"]));
    place.deliver(supporter->join());
    EXPECT_TRUE(supporter->accept(place.sent.back()));
    place.deliver(supporter->hello("Ann"));
    page->send(R"({"remote":1,"answer":")" + answer + "\"}");
    EXPECT_TRUE(runUntil([&] { return stage(*page) == "connected"; }));
    return page;
  }
  std::unique_ptr<TestPage> openWorkingGuest() {
    auto guest = openGuestsPage(1);
    guest->send(takesInput);
    settle(*guest);
    return guest;
  }
  static json remote(const TestPage& page) {
    const auto event = page.find({{"event", "remote"}});
    return event.is_null() || event["sessions"].empty() ? json::object() : event["sessions"][0];
  }
  static std::string stage(const TestPage& page) { return remote(page).value("stage", ""); }
  static std::string codeOf(const json& answer) {
    return answer.contains("error") ? answer["error"]["code"].get<std::string>() : "";
  }
  static std::string press(TestPage& page) {
    page.texts.clear();
    page.send(keyDown);
    return codeOf(page.waitFor({{"id", 70}}));
  }

  TemporaryFolder folder;
  SessionLog log{folder.path("log"), [] {
                   return 0;
                 }};
  FakeSignalling broker;
  RemoteSupport support{{hub, &broker, log, [](const std::string&, const std::string&) {},
                         systemRandom, std::chrono::steady_clock::now},
                        RemoteConfig{{}, "https://help.example/", nullptr, ""}};
  std::optional<TestSupporter> supporter;
};

TEST_F(SessionHubRemoteTest, StateComesFirstAndThenWhatIsConfigured) {
  const auto page = openPage();
  ASSERT_FALSE(page->waitFor({{"event", "remote"}}).is_null());
  EXPECT_EQ(page->texts[0]["event"], "state");
  EXPECT_EQ(page->texts[1]["event"], "remote");
}

TEST_F(SessionHubRemoteTest, OnlyCustomersPagesRuleAndAreTold) {
  const auto customer = openPageWithSupporter("watch");
  const auto guest = openWorkingGuest();
  const auto local = openSupportersPage();
  for (const auto* page : {&guest, &local}) {
    for (const auto* text :
         {R"({"invite":true})", R"({"remote":1,"control":true})", R"({"remote":1,"end":true})",
          R"({"remote":1,"lost":true})", R"({"remote":1,"path":"direct"})",
          R"({"remote":1,"answer":"control"})", R"({"remote":1,"signal":{"candidate":null}})",
          R"({"stopAll":true})", R"({"log":true})", R"({"front":true})"}) {
      (*page)->texts.clear();
      (*page)->send(text);
      EXPECT_EQ(codeOf((*page)->waitFor({{"id", nullptr}})), "not_allowed") << text;
    }
    EXPECT_EQ((*page)->find({{"event", "remote"}}), nullptr);
    EXPECT_EQ((*page)->find({{"event", "log"}}), nullptr);
  }
  settle(*customer);
  EXPECT_EQ(stage(*customer), "connected");
  EXPECT_EQ(remote(*customer)["control"], false);
  EXPECT_EQ(broker.places.size(), 1U);
  EXPECT_EQ(press(*guest), "input_not_authorized");
}

TEST_F(SessionHubRemoteTest, GuestHasTheControlThatTheCustomerGaveIt) {
  const auto customer = openPageWithSupporter("watch");
  const auto guest = openWorkingGuest();
  EXPECT_EQ(press(*guest), "input_not_authorized");
  customer->send(R"({"remote":1,"control":true})");
  ASSERT_FALSE(guest->waitFor({{"event", "state"}, {"control", true}}).is_null());
  EXPECT_EQ(press(*guest), "");
  customer->send(R"({"remote":1,"control":false})");
  EXPECT_TRUE(runUntil([this] { return host.count("releaseInput") == 1; }));
  EXPECT_EQ(press(*guest), "input_not_authorized");
}

TEST_F(SessionHubRemoteTest, WhateverEndsTheSessionLiftsWhatTheGuestHolds) {
  const auto customer = openPageWithSupporter("control");
  const auto resumes = [&] {
    auto again = supporter->resuming();
    broker.newest().deliver(again.join());
    EXPECT_TRUE(again.accept(broker.newest().sent.back()));
    broker.newest().deliver(again.hello("Ann"));
  };
  std::size_t released = 0;
  for (const std::string end : {"lost by the page", "gone", "back already", "ended"}) {
    const auto guest = openWorkingGuest();
    EXPECT_EQ(press(*guest), "");
    if (end == "lost by the page") customer->send(R"({"remote":1,"lost":true})");
    if (end == "gone") broker.newest().tellGone();
    if (end == "back already") resumes();
    if (end == "ended") customer->send(R"({"remote":1,"end":true})");
    ++released;
    EXPECT_TRUE(runUntil([&] { return guest->closed && host.count("releaseInput") == released; }))
        << end;
    if (end == "lost by the page" || end == "gone") resumes();
  }
}

TEST_F(SessionHubRemoteTest, CarrierThatGoesTakesItsGuestAlong) {
  auto customer = openPageWithSupporter("control");
  const auto other = openPage();
  const auto guest = openWorkingGuest();
  EXPECT_EQ(press(*guest), "");
  customer->vanish();
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1 && guest->closed; }));
  EXPECT_TRUE(runUntil([&] { return stage(*other) == "lost"; }));
  EXPECT_EQ(remote(*other)["carrier"], true);
  const auto refused = openGuestsPage(1);
  EXPECT_TRUE(runUntil([&] { return refused->closed; }));
}

TEST_F(SessionHubRemoteTest, StoppingTheSharingEndsNoInvitationButBlanksTheGuest) {
  host.answer("startCapture", Value());
  const auto customer = openPageWithSupporter("control");
  const auto guest = openWorkingGuest();
  customer->send(startCall);
  ASSERT_FALSE(guest->waitForSession("live").is_null());
  customer->send(stopCall);
  EXPECT_FALSE(guest->waitForSession("ended").is_null());
  EXPECT_EQ(stage(*customer), "connected");
  EXPECT_FALSE(guest->closed);
}

}  // namespace
}  // namespace quorvin::webui
