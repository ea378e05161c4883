#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/TemporaryFolder.h"
#include "webui/remote/RemoteSupport.h"
#include "webui/tests/remote/FakeSignalling.h"
#include "webui/tests/trust/TestSupporter.h"

namespace quorvin::webui {

using nlohmann::json;

// Customers' pages by number; keeps what they are sent, and whose guests are let in.
class FakePages : public RemotePages {
 public:
  void watchCustomers(Handlers given) override { handlers = std::move(given); }
  void sendText(PageId page, const std::string& text) override {
    texts[page].push_back(json::parse(text));
  }
  void admit(RemoteId guest, bool control) override { admitted[guest] = control; }
  void dismiss(RemoteId guest) override { admitted.erase(guest); }

  void say(PageId page, const RemoteMessage& message) const { handlers.onMessage(page, message); }
  // The last text of this event, or null.
  [[nodiscard]] json last(PageId page, const char* event) {
    const auto& list = texts[page];
    const auto found = std::find_if(list.rbegin(), list.rend(),
                                    [&](const json& text) { return text["event"] == event; });
    return found != list.rend() ? *found : json();
  }

  Handlers handlers;
  std::map<PageId, std::vector<json>> texts;
  std::map<RemoteId, bool> admitted;
};

// Everything but pages, broker and desktop, with a clock of its own.
class RemoteSupportTest : public testing::Test {
 protected:
  static constexpr PageId page = 7;
  using Answer = Invitation::Answer;
  using What = RemoteMessage::What;
  using Admitted = std::map<RemoteId, bool>;
  using Notices = std::vector<std::string>;

  RemoteSupportTest() { pages.handlers.onOpened(page); }

  std::unique_ptr<RemoteSupport> make() {
    RemoteConfig config;
    config.page = "https://help.example/";
    return std::make_unique<RemoteSupport>(
        RemoteSupport::Outside{
            pages, &broker, log,
            [this](const std::string& title, const std::string&) { notices.push_back(title); },
            systemRandom,
            [this] {
              return now;
            }},
        config);
  }

  json event(PageId of = page) { return pages.last(of, "remote"); }
  json session(std::size_t index = 0, PageId of = page) { return event(of)["sessions"][index]; }
  json stage(std::size_t index = 0) { return session(index)["stage"]; }

  void invite() {
    pages.say(page, {What::invite});
    broker.newest().reach(Reach::open);
  }
  // Lets the supporter join and say its name.
  void introduce(TestSupporter& supporter, const std::string& name = "Ann") const {
    auto& place = broker.newest();
    place.deliver(supporter.join());
    ASSERT_FALSE(place.sent.empty());
    ASSERT_TRUE(supporter.accept(place.sent.back()));
    place.deliver(supporter.hello(name));
  }
  TestSupporter invited() {
    invite();
    auto supporter = TestSupporter::withCode(event()["sessions"].back()["code"]);
    introduce(supporter);
    return supporter;
  }
  TestSupporter connected(Answer answer = Answer::control) {
    auto supporter = invited();
    pages.say(page, {What::answer, event()["sessions"].back()["id"], answer});
    EXPECT_EQ(told(supporter)["type"], "allowed");
    return supporter;
  }
  TestSupporter resumed(const TestSupporter& before) const {
    auto supporter = before.resuming();
    introduce(supporter);
    EXPECT_EQ(told(supporter)["type"], "resumed");
    return supporter;
  }
  // What the newest envelope says to the supporter.
  json told(TestSupporter& supporter) const {
    const auto text = supporter.open(broker.newest().sent.back());
    return text.starts_with('{') ? json::parse(text) : json(text);
  }
  void say(TestSupporter& supporter, const json& message) const {
    broker.newest().deliver(supporter.seal(message.dump()));
  }
  void pass(std::chrono::milliseconds time) {
    now += time;
    support->timePassed();
  }
  std::vector<std::string> logged() const {
    std::vector<std::string> events;
    for (const auto& entry : log.newest()) {
      const auto& why = entry["why"];
      events.push_back(entry["event"].get<std::string>() +
                       (why.is_null() ? "" : " " + why.get<std::string>()));
    }
    std::reverse(events.begin(), events.end());
    return events;
  }

  Invitation::Time now{};
  TemporaryFolder folder;
  SessionLog log{folder.path("log"), [] {
                   return 0;
                 }};
  FakePages pages;
  FakeSignalling broker;
  Notices notices;
  std::unique_ptr<RemoteSupport> support = make();
};

}  // namespace quorvin::webui
