// What the page of a supporter on another computer may do, whatever it sends.

#include <string>

#include "webui/tests/SessionHubTest.h"

namespace quorvin::webui {
namespace {

constexpr RemoteId ann = 3;
constexpr RemoteId bob = 4;
constexpr const char* keyDown =
    R"({"id":70,"method":"injectInput","arguments":{"action":"keyDown","keyCode":56}})";
constexpr const char* release = R"({"id":71,"method":"releaseInput"})";
constexpr const char* takesBackFromAll = R"({"control":false})";
constexpr const char* givesToAll = R"({"control":true})";

class SessionHubGuestsTest : public SessionHubTest {
 protected:
  explicit SessionHubGuestsTest(
      std::chrono::milliseconds absenceMax = SessionHub::customerAbsenceMax)
      : SessionHubTest(absenceMax) {
    for (const auto* method : {"injectInput", "releaseInput", "configureStream", "capabilities"}) {
      host.answer(method, Value());
    }
  }

  std::unique_ptr<TestPage> openWorkingGuest(RemoteId guest, bool control = true) {
    hub.admit(guest, control);
    auto page = openGuestsPage(guest);
    page->send(takesInput);
    settle(*page);
    return page;
  }

  static json answerTo(TestPage& page, const char* call) {
    page.texts.clear();
    page.send(call);
    return page.waitFor({{"id", json::parse(call)["id"]}});
  }
  static std::string codeOf(const json& answer) {
    return answer.contains("error") ? answer["error"]["code"].get<std::string>() : "";
  }
  static json control(const TestPage& page) { return page.find({{"event", "state"}})["control"]; }
  // Whatever was sent to the host before has come there.
  void settleHost(TestPage& page) {
    page.send(R"({"id":98,"method":"capabilities"})");
    EXPECT_FALSE(page.waitFor({{"id", 98}}).is_null());
  }
};

TEST_F(SessionHubGuestsTest, GuestIsLetInOnlyWhileItIsAdmitted) {
  const auto refused = [this] {
    const auto page = openGuestsPage(ann);
    EXPECT_TRUE(runUntil([&] { return page->closed; }));
    EXPECT_TRUE(page->texts.empty());
    return page->closeReason;
  };
  EXPECT_EQ(refused(), "no such guest is connected");
  hub.admit(bob, true);
  EXPECT_EQ(refused(), "no such guest is connected");
  hub.admit(ann, false);
  const auto page = openGuestsPage(ann);
  EXPECT_EQ(page->waitForSession("idle")["control"], false);
  hub.dismiss(ann);
  EXPECT_TRUE(runUntil([&] { return page->closed; }));
  EXPECT_EQ(refused(), "no such guest is connected");
}

TEST_F(SessionHubGuestsTest, GuestMayCallWhatASupporterMayAndNothingElse) {
  const auto customer = openLivePage();
  const auto guest = openWorkingGuest(ann);
  for (const auto* method : {"capabilities", "configureStream", "injectInput", "releaseInput"}) {
    const auto call = R"({"id":1,"method":")" + std::string(method) + R"("})";
    EXPECT_TRUE(answerTo(*guest, call.c_str()).contains("result")) << method;
  }
  settleHost(*customer);
  const auto callsBefore = host.calls().size();
  for (const auto* method : {"startCapture", "stopCapture", "permissions", "requestPermissions",
                             "createDesktopShortcut"}) {
    const auto call = R"({"id":2,"method":")" + std::string(method) +
                      R"(","arguments":{"locallyAuthorized":true,"unattended":true}})";
    EXPECT_EQ(codeOf(answerTo(*guest, call.c_str())), "not_allowed") << method;
  }
  EXPECT_EQ(host.calls().size(), callsBefore);
  EXPECT_EQ(customer->find({{"event", "state"}})["session"], "live");
}

TEST_F(SessionHubGuestsTest, GuestInjectsOnlyWithControlOfItsOwnAndOfAll) {
  const auto customer = openLivePage();
  const auto watching = openWorkingGuest(ann, false);
  const auto working = openWorkingGuest(bob, true);
  EXPECT_EQ(control(*watching), false);
  EXPECT_EQ(control(*working), true);
  EXPECT_EQ(control(*customer), true);
  EXPECT_EQ(codeOf(answerTo(*watching, keyDown)), "input_not_authorized");
  EXPECT_EQ(host.count("injectInput"), 0U);
  EXPECT_EQ(codeOf(answerTo(*working, keyDown)), "");
  customer->send(takesBackFromAll);
  EXPECT_FALSE(working->waitFor({{"event", "state"}, {"control", false}}).is_null());
  hub.admit(ann, true);
  for (const auto* page : {&watching, &working}) {
    EXPECT_EQ(codeOf(answerTo(**page, keyDown)), "input_not_authorized");
  }
  EXPECT_EQ(host.count("injectInput"), 1U);
  customer->send(givesToAll);
  EXPECT_FALSE(watching->waitFor({{"event", "state"}, {"control", true}}).is_null());
  EXPECT_EQ(codeOf(answerTo(*watching, keyDown)), "");
}

TEST_F(SessionHubGuestsTest, GuestNeitherGivesNorTakesControl) {
  const auto customer = openPage();
  const auto guest = openWorkingGuest(ann, false);
  for (const auto* message : {givesToAll, takesBackFromAll}) {
    guest->send(message);
    EXPECT_EQ(codeOf(guest->waitFor({{"id", nullptr}})), "not_allowed");
    guest->texts.clear();
  }
  EXPECT_EQ(codeOf(answerTo(*guest, keyDown)), "input_not_authorized");
  EXPECT_EQ(control(*customer), true);
}

TEST_F(SessionHubGuestsTest, WhatAGuestHoldsIsLiftedWhenItsControlIsTaken) {
  const auto guest = openWorkingGuest(ann);
  EXPECT_EQ(codeOf(answerTo(*guest, keyDown)), "");
  hub.admit(ann, false);
  EXPECT_EQ(guest->waitFor({{"event", "state"}, {"control", false}})["input"], false);
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
}

TEST_F(SessionHubGuestsTest, WhatAGuestHoldsIsLiftedWhenItGoesOrHasTo) {
  auto guest = openWorkingGuest(ann);
  EXPECT_EQ(codeOf(answerTo(*guest, keyDown)), "");
  guest->vanish();
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
  guest = openWorkingGuest(ann);
  EXPECT_EQ(codeOf(answerTo(*guest, keyDown)), "");
  hub.dismiss(ann);
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 2 && guest->closed; }));
}

TEST_F(SessionHubGuestsTest, NewerPageOfAGuestTakesThePlaceOfTheOlder) {
  const auto older = openWorkingGuest(ann);
  const auto other = openWorkingGuest(bob);
  EXPECT_EQ(codeOf(answerTo(*older, keyDown)), "");
  const auto newer = openGuestsPage(ann);
  EXPECT_TRUE(runUntil([&] { return older->closed && host.count("releaseInput") == 1; }));
  settle(*newer);
  settle(*other);
}

TEST_F(SessionHubGuestsTest, PageThatHoldsNothingLiftsNothingOfAnother) {
  const auto customer = openPage();
  const auto holding = openWorkingGuest(ann);
  const auto idle = openWorkingGuest(bob);
  const auto supporter = openSupportersPage();
  EXPECT_EQ(codeOf(answerTo(*holding, keyDown)), "");
  for (const auto* page : {&customer, &idle, &supporter}) {
    EXPECT_TRUE(answerTo(**page, release).contains("result"));
  }
  settleHost(*customer);
  EXPECT_EQ(host.count("releaseInput"), 0U);
  EXPECT_TRUE(answerTo(*holding, release).contains("result"));
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
}

TEST_F(SessionHubGuestsTest, PageLiftsOnlyWhatItHoldsWhileAnotherHoldsSomething) {
  const auto customer = openPage();
  const auto holding = openWorkingGuest(ann);
  const auto other = openWorkingGuest(bob);
  const auto inject = [](TestPage& page, const std::string& event) {
    const auto call = R"({"id":70,"method":"injectInput","arguments":{)" + event + "}}";
    EXPECT_EQ(codeOf(answerTo(page, call.c_str())), "");
  };
  inject(*holding, R"("action":"keyDown","keyCode":56)");
  for (const auto* event :
       {R"("action":"keyDown","keyCode":0)", R"("action":"keyDown","keyCode":1)",
        R"("action":"keyUp","keyCode":0)", R"("action":"mouseDown","x":0.1,"y":0.2)",
        R"("action":"mouseDown","x":0.1,"y":0.2,"button":"right")",
        R"("action":"mouseUp","x":0.1,"y":0.2,"button":"left")",
        R"("action":"mouseMove","x":0.3,"y":1)"}) {
    inject(*other, event);
  }
  const auto before = host.calls().size();
  EXPECT_TRUE(answerTo(*other, release).contains("result"));
  settleHost(*customer);
  std::vector<Value> lifted;
  for (std::size_t index = before; host.calls()[index].call.method == "injectInput"; ++index) {
    lifted.push_back(host.calls()[index].call.arguments);
  }
  const Map button{{"action", "mouseUp"}, {"x", 0.3}, {"y", 1}, {"button", "right"}};
  const Map key{{"action", "keyUp"}, {"keyCode", 1}};
  EXPECT_EQ(lifted, (std::vector<Value>{button, key}));
  EXPECT_EQ(host.count("releaseInput"), 0U);
  hub.dismiss(bob);
  hub.dismiss(ann);
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
}

TEST_F(SessionHubGuestsTest, WhatTheHostHasNotAnsweredIsLiftedWithAllThatIsHeld) {
  const auto holding = openWorkingGuest(ann);
  const auto other = openWorkingGuest(bob);
  EXPECT_EQ(codeOf(answerTo(*holding, keyDown)), "");
  host.forget("injectInput");
  other->send(keyDown);
  EXPECT_TRUE(runUntil([&] { return host.count("injectInput") == 2; }));
  hub.dismiss(bob);
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
}

TEST_F(SessionHubGuestsTest, GuestsTakePlacesOfSupporters) {
  std::vector<std::unique_ptr<TestPage>> pages;
  for (int count = 0; count < 3; ++count) settle(*pages.emplace_back(openSupportersPage()));
  hub.admit(ann, true);
  hub.admit(bob, true);
  settle(*pages.emplace_back(openGuestsPage(ann)));
  for (const auto& surplus : {openGuestsPage(bob), openSupportersPage()}) {
    EXPECT_TRUE(runUntil([&] { return surplus->closed; }));
    EXPECT_EQ(surplus->closeReason, "too many pages");
  }
  // Its own place is there for its newer page.
  settle(*openGuestsPage(ann));
}

TEST_F(SessionHubGuestsTest, StopTakesThePictureFromAGuest) {
  const auto customer = openLivePage();
  const auto guest = openWorkingGuest(ann);
  customer->send(stopCall);
  EXPECT_FALSE(guest->waitForSession("ended").is_null());
  host.sendFrame(Bytes(100));
  settleHost(*guest);
  EXPECT_TRUE(guest->frames.empty());
}

class QuickAbsenceGuestsTest : public SessionHubGuestsTest {
 protected:
  QuickAbsenceGuestsTest() : SessionHubGuestsTest(std::chrono::milliseconds(1)) {}
};

TEST_F(QuickAbsenceGuestsTest, GuestThatSaysItShowsStopKeepsNoSession) {
  auto customer = openLivePage();
  const auto guest = openWorkingGuest(ann);
  customer->vanish();
  EXPECT_EQ(guest->waitForSession("ended")["error"]["code"], "customer_absent");
}

}  // namespace
}  // namespace quorvin::webui
