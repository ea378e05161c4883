#include <string>

#include "webui/tests/SessionHubTest.h"

namespace quorvin::webui {
namespace {

class SessionHubInputTest : public SessionHubTest {
 protected:
  SessionHubInputTest() {
    host.answer("injectInput", Value());
    host.answer("releaseInput", Value());
  }

  std::unique_ptr<TestPage> openControllingPage() {
    auto page = openPage();
    page->send(takesInput);
    EXPECT_FALSE(page->waitFor({{"event", "state"}, {"input", true}}).is_null());
    return page;
  }

  // Returns once the host has got it.
  void inject(const TestPage& page, const std::string& event) const {
    const auto before = host.count("injectInput");
    page.send(R"({"id":70,"method":"injectInput","arguments":)" + event + "}");
    EXPECT_TRUE(runUntil([&] { return host.count("injectInput") == before + 1; }));
  }
};

constexpr const char* keyDown = R"({"action":"keyDown","keyCode":56})";
constexpr const char* keyUp = R"({"action":"keyUp","keyCode":56})";
constexpr const char* mouseDown = R"({"action":"mouseDown","x":0.5,"y":0.5})";
constexpr const char* mouseMove = R"({"action":"mouseMove","x":0.5,"y":0.5})";

TEST_F(SessionHubInputTest, PageThatOnlyWatchesMayNotInject) {
  const auto page = openPage();
  page->send(R"({"id":1,"method":"injectInput","arguments":{"action":"keyDown","keyCode":0}})");
  EXPECT_EQ(page->waitFor({{"id", 1}})["error"]["code"], "input_not_authorized");
  page->send(takesInput);
  page->send(showsBoth);
  page->send(R"({"id":2,"method":"injectInput","arguments":{"action":"keyDown","keyCode":0}})");
  EXPECT_EQ(page->waitFor({{"id", 2}})["error"]["code"], "input_not_authorized");
  EXPECT_EQ(host.count("injectInput"), 0U);
}

TEST_F(SessionHubInputTest, EveryPageIsToldWhetherAnyTakesInput) {
  const auto customer = openPage();
  EXPECT_EQ(customer->waitForSession("idle")["input"], false);
  const auto first = openControllingPage();
  auto second = openControllingPage();
  EXPECT_FALSE(customer->waitFor({{"event", "state"}, {"input", true}}).is_null());
  customer->texts.clear();
  first->send(showsBoth);
  settle(*first);
  settle(*customer);
  EXPECT_TRUE(customer->find({{"event", "state"}}).is_null());
  second->vanish();
  EXPECT_EQ(customer->waitFor({{"event", "state"}})["input"], false);
}

TEST_F(SessionHubInputTest, WhatAPageThatGoesAwayHoldsIsLifted) {
  for (const auto* press : {keyDown, mouseDown}) {
    const auto before = host.count("releaseInput");
    auto page = openControllingPage();
    inject(*page, press);
    page->vanish();
    EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == before + 1; })) << press;
  }
}

TEST_F(SessionHubInputTest, PageThatClosesProperlyLeavesNothingDownEither) {
  auto page = openControllingPage();
  inject(*page, keyDown);
  // Which of several keys are still down is the host's to know.
  inject(*page, keyUp);
  page->close();
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
}

TEST_F(SessionHubInputTest, PageThatHoldsNothingLiftsNothingOfAnother) {
  host.answer("permissions", Value());
  const auto watching = openPage();
  auto moving = openControllingPage();
  inject(*moving, mouseMove);
  auto done = openControllingPage();
  inject(*done, keyDown);
  done->send(R"({"id":71,"method":"releaseInput"})");
  EXPECT_FALSE(done->waitFor({{"id", 71}}).is_null());
  moving->vanish();
  done->vanish();
  EXPECT_TRUE(runUntil([&] { return watching->find({{"event", "state"}})["input"] == false; }));
  // The host has by now got whatever was sent when the pages went away.
  watching->send(R"({"id":72,"method":"permissions"})");
  EXPECT_FALSE(watching->waitFor({{"id", 72}}).is_null());
  EXPECT_EQ(host.count("releaseInput"), 1U);
}

TEST_F(SessionHubInputTest, PageThatBeginsOnlyToWatchHoldsNothing) {
  const auto page = openControllingPage();
  inject(*page, mouseDown);
  page->send(showsBoth);
  EXPECT_FALSE(page->waitFor({{"event", "state"}, {"input", false}}).is_null());
  EXPECT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
}

TEST_F(SessionHubInputTest, ReleaseComesAfterThePressesThatTheHostHasNotAnswered) {
  host.forget("injectInput");
  auto page = openControllingPage();
  inject(*page, keyDown);
  inject(*page, mouseDown);
  page->vanish();
  ASSERT_TRUE(runUntil([&] { return host.count("releaseInput") == 1; }));
  ASSERT_TRUE(runUntil([&] { return host.count("cancel") == 1; }));
  EXPECT_EQ(host.calls()[host.calls().size() - 2].call.method, "releaseInput");
}

}  // namespace
}  // namespace quorvin::webui
