// How much goes to a guest, and what is asked of the host so that it fits.

#include <string>

#include "webui/tests/SessionHubTest.h"

namespace quorvin::webui {
namespace {

constexpr RemoteId ann = 3;
constexpr RemoteId bob = 4;
constexpr const char* showsPicture = R"({"show":{"picture":true}})";
constexpr const char* showsH264 = R"({"show":{"picture":true,"h264":true}})";
constexpr const char* chooses = R"({"id":9,"method":"configureStream","arguments":)"
                                R"({"profile":"sharp","show_cursor":false,"codec":"jpeg",)"
                                R"("max_width":2560,"max_height":1600,"fps":24,"bitrate_mbps":16,)"
                                R"("jpeg_quality":90,"queue_depth":3}})";

Bytes frameOf(std::size_t bytes, std::uint8_t number = 1) {
  return Bytes(bytes, number);
}

// The clock of the rates is the test's.
class SessionHubRateTest : public SessionHubTest {
 protected:
  SessionHubRateTest()
      : SessionHubTest(SessionHub::customerAbsenceMax, PageConnection::questionInterval,
                       {[this] { return now; }, std::chrono::milliseconds(1)}) {
    host.answer("configureStream", Value());
  }

  std::unique_ptr<TestPage> openGuest(RemoteId guest, const char* shows = showsPicture) {
    hub.admit(guest, true);
    auto page = openGuestsPage(guest);
    page->send(shows);
    settle(*page);
    return page;
  }

  void pass(int ms) { now += std::chrono::milliseconds(ms); }

  // For some seconds frames that are far too large, of which a quarter is acknowledged.
  void overload(const TestPage& guest, const TestPage& customer, std::size_t bytes = 60'000) {
    for (int frame = 0; frame < 80; ++frame) {
      host.sendFrame(frameOf(bytes));
      settle(customer);
      customer.send(R"({"ack":1})");
      pass(100);
      if (frame % 4 == 3) guest.send(R"({"ack":1})");
      settle(guest);
      settleReview(guest);
    }
  }
  // Until the rates have been reviewed since.
  void settleReview(const TestPage& page) const {
    for (int turn = 0; turn < 3; ++turn) settle(page);
    const auto later = FrameClock::now() + std::chrono::milliseconds(2);
    ASSERT_TRUE(runUntil([&] { return FrameClock::now() >= later; }));
  }

  [[nodiscard]] std::int64_t asked(const char* setting) const {
    const auto call = host.last("configureStream");
    return call ? *call->call.arguments.as<Map>()->find(setting)->as<std::int64_t>() : 0;
  }
  [[nodiscard]] std::string askedCodec() const {
    return *host.last("configureStream")
                ->call.arguments.as<Map>()
                ->find("codec")
                ->as<std::string>();
  }

  RateTime now = RateTime(std::chrono::hours(1));
};

TEST_F(SessionHubRateTest, SmallFramesForAGuestWaitForNoAcknowledgement) {
  const auto customer = openLivePage();
  const auto guest = openGuest(ann);
  for (std::uint8_t number = 1; number <= 10; ++number) {
    host.sendFrame(frameOf(300, number));
    ASSERT_TRUE(runUntil([&] { return guest->frames.size() == number; }));
  }
  settle(*customer);
  EXPECT_EQ(customer->frames.size(), 2U) << "which is on this computer";
}

TEST_F(SessionHubRateTest, NewestFrameWaitsUntilTheOneBeforeShouldHaveLeft) {
  const auto customer = openLivePage();
  const auto guest = openGuest(ann);
  for (std::uint8_t number = 1; number <= 5; ++number) host.sendFrame(frameOf(20'000, number));
  ASSERT_TRUE(runUntil([&] { return !guest->frames.empty(); }));
  settleReview(*guest);
  EXPECT_EQ(guest->frames.size(), 1U);
  pass(1000);
  ASSERT_TRUE(runUntil([&] { return guest->frames.size() == 2; }));
  EXPECT_EQ(guest->frames.back(), frameOf(20'000, 5));
}

TEST_F(SessionHubRateTest, AsksTheHostForLessAndTellsTheGuestAndShowsWhatWasChosen) {
  const auto customer = openLivePage();
  const auto guest = openGuest(ann);
  guest->send(chooses);
  EXPECT_FALSE(guest->waitFor({{"id", 9}}).is_null());
  EXPECT_EQ(asked("fps"), 24);
  overload(*guest, *customer);
  EXPECT_LT(asked("fps"), 24);
  EXPECT_EQ(asked("max_height"), 1600);
  EXPECT_EQ(askedCodec(), "jpeg");
  const auto reduced = guest->find({{"event", "reduced"}});
  EXPECT_EQ(reduced["why"], "network");
  EXPECT_GT(reduced["steps"], 0);
  EXPECT_TRUE(customer->find({{"event", "reduced"}}).is_null());
  EXPECT_EQ(customer->find({{"event", "state"}})["settings"]["fps"], 24);
  EXPECT_EQ(customer->find({{"event", "state"}})["settings"]["jpeg_quality"], 90);
}

TEST_F(SessionHubRateTest, ChoiceOfAPageIsReducedOnItsWay) {
  const auto customer = openLivePage();
  const auto guest = openGuest(ann);
  overload(*guest, *customer);
  ASSERT_LT(asked("jpeg_quality"), 72);
  const auto before = host.count("configureStream");
  guest->send(chooses);
  ASSERT_TRUE(runUntil([&] { return host.count("configureStream") > before; }));
  EXPECT_LT(asked("jpeg_quality"), 72);
  EXPECT_FALSE(guest->waitFor({{"id", 9}}).is_null());
  settle(*guest);
  EXPECT_EQ(guest->find({{"event", "state"}})["settings"]["jpeg_quality"], 90);
}

TEST_F(SessionHubRateTest, LeastWishCountsAndGoesWithItsGuest) {
  const auto customer = openLivePage();
  auto slow = openGuest(ann);
  overload(*slow, *customer);
  ASSERT_LT(asked("jpeg_quality"), 72);
  const auto quick = openGuest(bob);
  EXPECT_EQ(quick->waitFor({{"event", "reduced"}})["why"], "network");
  EXPECT_LT(asked("jpeg_quality"), 72);
  hub.dismiss(ann);
  ASSERT_TRUE(runUntil([&] { return asked("jpeg_quality") == 72; }));
  EXPECT_EQ(quick->waitFor({{"event", "reduced"}, {"steps", 0}})["why"], nullptr);
}

TEST_F(SessionHubRateTest, ChosenPictureComesBackWhenTheLastGuestHasGone) {
  const auto customer = openLivePage();
  const auto guest = openGuest(ann);
  overload(*guest, *customer);
  ASSERT_LT(asked("jpeg_quality"), 72);
  hub.dismiss(ann);
  ASSERT_TRUE(runUntil([&] { return asked("jpeg_quality") == 72; }));
}

TEST_F(SessionHubRateTest, ChosenPictureComesBackOnAScreenThatRests) {
  const auto customer = openLivePage();
  const auto guest = openGuest(ann);
  overload(*guest, *customer);
  ASSERT_LT(asked("jpeg_quality"), 72);
  guest->send(R"({"ack":100})");
  customer->send(R"({"ack":100})");
  for (int count = 0; count < 400 && asked("jpeg_quality") < 72; ++count) {
    pass(250);
    settleReview(*guest);
  }
  EXPECT_EQ(asked("jpeg_quality"), 72);
  EXPECT_EQ(asked("max_width"), 1920);
  EXPECT_EQ(guest->waitFor({{"event", "reduced"}, {"steps", 0}})["why"], nullptr);
  const auto before = guest->frames.size();
  host.sendFrame(frameOf(50'000, 9));  // which the host makes of the same screen
  ASSERT_TRUE(runUntil([&] { return guest->frames.size() > before; }));
  EXPECT_EQ(guest->frames.back(), frameOf(50'000, 9));
}

TEST_F(SessionHubRateTest, NothingIsAskedOfAHostWithoutASession) {
  const auto customer = openLivePage();
  const auto guest = openGuest(ann);
  overload(*guest, *customer);
  customer->send(stopCall);
  ASSERT_FALSE(customer->waitForSession("ended").is_null());
  const auto before = host.count("configureStream");
  hub.dismiss(ann);
  settle(*customer);
  EXPECT_EQ(host.count("configureStream"), before);
}

TEST_F(SessionHubRateTest, H264IsAskedForOnlyWhereAllPagesCanShowIt) {
  const auto customer = openLivePage();
  const auto guest = openGuest(ann, showsH264);
  overload(*guest, *customer);
  ASSERT_GT(host.count("configureStream"), 0U);
  EXPECT_EQ(askedCodec(), "jpeg") << "the customer's page shows the picture and has not said so";
  customer->send(R"({"show":{"customer":true,"picture":true,"h264":true}})");
  overload(*guest, *customer);
  EXPECT_EQ(askedCodec(), "h264");
  EXPECT_LT(asked("bitrate_mbps"), 7);
  customer->send(showsBoth);
  ASSERT_TRUE(runUntil([&] { return askedCodec() == "jpeg"; }));
}

}  // namespace
}  // namespace quorvin::webui
