#include <gtest/gtest.h>

#include "webui/tests/remote/RemoteSupportTest.h"

// A computer that is left alone: a supporter with its link is let in without a question.

namespace quorvin::webui {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;
using Strings = std::vector<std::string>;

class RemoteDeviceTest : public RemoteSupportTest {
 protected:
  RemoteDeviceTest() { open(1); }

  static Invitation::DeviceLink linkOf(std::uint8_t number) {
    Invitation::DeviceLink link;
    link.inbox.fill(number);
    link.secret.bytes()[0] = number;
    return link;
  }
  void open(std::uint8_t number) {
    support->openTo(linkOf(number));
    broker.newest().reach(Reach::open);
  }
  TestSupporter come(std::uint8_t number = 1) {
    auto supporter =
        TestSupporter::withLink(Invitation(systemRandom, linkOf(number)).link("https://x/"));
    introduce(supporter);
    return supporter;
  }
};

TEST_F(RemoteDeviceTest, WaitsUnseenHoweverLong) {
  pass(minutes(60 * 24));
  EXPECT_EQ(event()["sessions"], json::array());
  EXPECT_EQ(logged(), Strings());
  EXPECT_EQ(broker.newest().name, "");
  EXPECT_FALSE(broker.newest().left);
}

TEST_F(RemoteDeviceTest, LetsInWithoutAQuestionAndTellsOfIt) {
  auto supporter = come();
  EXPECT_EQ(told(supporter)["type"], "allowed");
  EXPECT_EQ(pages.admitted, (Admitted{{1, true}}));
  EXPECT_EQ(session()["stage"], "connected");
  EXPECT_EQ(session()["carrier"], true);
  // The page that nobody sees may well say that it is in front.
  pages.say(page, {.what = What::front, .is = true});
  pages.say(page, {.what = What::path, .remote = 1, .text = "direct"});
  EXPECT_EQ(notices, Notices{"Ann is connected"});
  EXPECT_EQ(logged(), (Strings{"allowed deviceLink", "connected"}));
}

TEST_F(RemoteDeviceTest, LetsInOneAfterTheOther) {
  auto first = come();
  EXPECT_EQ(told(first)["type"], "allowed");
  auto second = TestSupporter::withLink(Invitation(systemRandom, linkOf(1)).link("https://x/"));
  broker.newest().deliver(second.join());
  EXPECT_EQ(second.open(broker.newest().sent.back()), "declined 5");
  say(first, {{"type", "leave"}});
  EXPECT_EQ(session()["stage"], "ended");
  pass(RemoteSupport::deviceRest);
  EXPECT_TRUE(broker.places[0]->left);
  auto third = come();
  EXPECT_EQ(told(third)["type"], "allowed");
  EXPECT_EQ(pages.admitted, (Admitted{{2, true}}));
}

TEST_F(RemoteDeviceTest, WhoeverIsDisconnectedMayComeAgain) {
  come();
  pages.say(page, {What::end, 1});
  EXPECT_EQ(pages.admitted, Admitted());
  pages.say(page, {What::invite});  // forgets at once what is over
  EXPECT_EQ(broker.places[1]->inbox, linkOf(1).inbox);
}

TEST_F(RemoteDeviceTest, AnotherLinkPutsOutWhoeverHadTheOneBefore) {
  auto supporter = come();
  EXPECT_EQ(told(supporter)["type"], "allowed");
  support->openTo(linkOf(2));
  EXPECT_EQ(supporter.open(broker.places[0]->sent.back()), R"({"type":"ended","why":"stopped"})");
  EXPECT_EQ(pages.admitted, Admitted());
  EXPECT_EQ(broker.newest().inbox, linkOf(2).inbox);
  auto late = TestSupporter::withLink(Invitation(systemRandom, linkOf(1)).link("https://x/"));
  broker.newest().deliver(late.join());
  ASSERT_TRUE(late.accept(broker.newest().sent.back()));
  broker.newest().deliver(late.hello("Ann"));
  EXPECT_EQ(late.open(broker.newest().sent.back()), "declined 2");
  EXPECT_EQ(pages.admitted, Admitted());
  auto next = come(2);
  EXPECT_EQ(told(next)["type"], "allowed");
}

TEST_F(RemoteDeviceTest, WaitsForAPageToCarryTheGuest) {
  pages.handlers.onClosed(page);
  auto supporter = come();
  EXPECT_EQ(told(supporter)["type"], "allowed");
  constexpr PageId another = 9;
  pages.handlers.onOpened(another);
  EXPECT_EQ(session(0, another)["carrier"], true);
}

}  // namespace
}  // namespace quorvin::webui
