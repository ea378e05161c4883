// What a supporter's page may do, whatever its scripts send.

#include <string>
#include <vector>

#include "webui/tests/SessionHubTest.h"

namespace quorvin::webui {
namespace {

constexpr const char* keyDown =
    R"({"id":70,"method":"injectInput","arguments":{"action":"keyDown","keyCode":56}})";
constexpr const char* takesBack = R"({"control":false})";
constexpr const char* givesAgain = R"({"control":true})";

class SessionHubRolesTest : public SessionHubTest {
 protected:
  explicit SessionHubRolesTest(
      std::chrono::milliseconds absenceMax = SessionHub::customerAbsenceMax)
      : SessionHubTest(absenceMax) {
    for (const auto* method : {"injectInput", "releaseInput", "configureStream", "capabilities"}) {
      host.answer(method, Value());
    }
  }

  std::unique_ptr<TestPage> openControllingPage(PageRole role = PageRole::supporter) {
    auto page = openPage(role);
    page->send(takesInput);
    EXPECT_FALSE(page->waitFor({{"event", "state"}, {"input", true}}).is_null());
    return page;
  }

  // The host's or this program's answer to a key.
  static json press(TestPage& page) {
    page.texts.clear();
    page.send(keyDown);
    return page.waitFor({{"id", 70}});
  }
};

TEST_F(SessionHubRolesTest, SupporterMayCallWhatItsPageNeedsAndNothingElse) {
  const auto customer = openLivePage();
  const auto supporter = openControllingPage();
  for (const auto* method : {"capabilities", "configureStream", "injectInput", "releaseInput"}) {
    supporter->texts.clear();
    supporter->send(R"({"id":1,"method":")" + std::string(method) + R"("})");
    EXPECT_TRUE(supporter->waitFor({{"id", 1}}).contains("result")) << method;
  }
  const auto callsBefore = host.calls().size();
  for (const auto* method : {"startCapture", "stopCapture", "permissions", "requestPermissions",
                             "createDesktopShortcut"}) {
    supporter->texts.clear();
    supporter->send(R"({"id":2,"method":")" + std::string(method) +
                    R"(","arguments":{"locallyAuthorized":true,"unattended":true}})");
    EXPECT_EQ(supporter->waitFor({{"id", 2}})["error"]["code"], "not_allowed") << method;
  }
  settle(*customer);
  EXPECT_EQ(host.calls().size(), callsBefore);
  EXPECT_EQ(customer->find({{"event", "state"}})["session"], "live");
}

TEST_F(SessionHubRolesTest, SupporterStartsNoSession) {
  const auto supporter = openSupportersPage();
  supporter->send(startCall);
  EXPECT_EQ(supporter->waitFor({{"id", 1}})["error"]["code"], "not_allowed");
  EXPECT_EQ(host.count("startCapture"), 0U);
  EXPECT_EQ(supporter->find({{"event", "state"}})["session"], "idle");
}

TEST_F(SessionHubRolesTest, TakingControlBackLiftsAndRefusesUntilItIsGivenAgain) {
  const auto customer = openLivePage();
  const auto first = openControllingPage();
  const auto second = openControllingPage();
  EXPECT_EQ(customer->find({{"event", "state"}})["control"], true);
  EXPECT_TRUE(press(*first).contains("result"));
  EXPECT_TRUE(press(*second).contains("result"));
  customer->send(takesBack);
  EXPECT_EQ(first->waitFor({{"event", "state"}, {"control", false}})["input"], false);
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
  const auto lift = host.calls()[host.calls().size() - 2].call;
  EXPECT_EQ(*lift.arguments.as<Map>()->find("action"), Value("keyUp")) << "of the first to lose it";
  const auto injectedBefore = host.count("injectInput");
  EXPECT_EQ(press(*first)["error"]["code"], "input_not_authorized");
  first->send(takesInput);
  EXPECT_EQ(press(*first)["error"]["code"], "input_not_authorized");
  const auto late = openPage(PageRole::supporter);
  late->send(takesInput);
  EXPECT_EQ(press(*late)["error"]["code"], "input_not_authorized");
  EXPECT_EQ(host.count("injectInput"), injectedBefore);
  customer->send(givesAgain);
  EXPECT_FALSE(first->waitFor({{"event", "state"}, {"control", true}}).is_null());
  EXPECT_TRUE(press(*first).contains("result"));
}

TEST_F(SessionHubRolesTest, ControlThatWasTakenBackStaysSoInTheNextSession) {
  const auto customer = openLivePage();
  const auto supporter = openControllingPage();
  customer->send(takesBack);
  customer->send(stopCall);
  ASSERT_FALSE(supporter->waitForSession("ended").is_null());
  customer->texts.clear();
  customer->send(startCall);
  EXPECT_EQ(customer->waitForSession("live")["control"], false);
  EXPECT_EQ(press(*supporter)["error"]["code"], "input_not_authorized");
}

TEST_F(SessionHubRolesTest, CustomersOwnPageKeepsControl) {
  const auto customer = openControllingPage(PageRole::customer);
  EXPECT_TRUE(press(*customer).contains("result"));
  customer->send(takesBack);
  EXPECT_EQ(customer->waitFor({{"event", "state"}, {"control", false}})["input"], true);
  EXPECT_TRUE(press(*customer).contains("result"));
  EXPECT_EQ(host.count("releaseInput"), 0U);
}

TEST_F(SessionHubRolesTest, SupporterNeitherGivesNorTakesControl) {
  const auto customer = openPage();
  const auto supporter = openControllingPage();
  supporter->send(takesBack);
  EXPECT_EQ(supporter->waitFor({{"id", nullptr}})["error"]["code"], "not_allowed");
  EXPECT_TRUE(press(*supporter).contains("result"));
  customer->send(takesBack);
  ASSERT_FALSE(supporter->waitFor({{"event", "state"}, {"control", false}}).is_null());
  supporter->send(givesAgain);
  EXPECT_EQ(supporter->waitFor({{"id", nullptr}})["error"]["code"], "not_allowed");
  EXPECT_EQ(press(*supporter)["error"]["code"], "input_not_authorized");
}

TEST_F(SessionHubRolesTest, SupportersLeaveRoomForAPageWithAStopButton) {
  std::vector<std::unique_ptr<TestPage>> supporters;
  for (int count = 0; count < 4; ++count) supporters.push_back(openSupportersPage());
  for (const auto& supporter : supporters) settle(*supporter);
  supporters.push_back(openSupportersPage());
  EXPECT_TRUE(runUntil([&] { return supporters.back()->closed; }));
  EXPECT_EQ(supporters.back()->closeReason, "too many pages");
  for (int count = 0; count < 4; ++count) settle(*supporters.emplace_back(openPage()));
}

class QuickAbsenceRolesTest : public SessionHubRolesTest {
 protected:
  QuickAbsenceRolesTest() : SessionHubRolesTest(std::chrono::milliseconds(1)) {}
};

TEST_F(QuickAbsenceRolesTest, SupportersPageThatSaysItShowsStopKeepsNoSession) {
  auto customer = openLivePage();
  const auto supporter = openSupportersPage();
  supporter->send(showsBoth);
  settle(*supporter);
  customer->vanish();
  EXPECT_EQ(supporter->waitForSession("ended")["error"]["code"], "customer_absent");
}

}  // namespace
}  // namespace quorvin::webui
