#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>

#include "webui/remote/SignallingLink.h"
#include "webui/tests/TestLoop.h"
#include "webui/tests/remote/TestListener.h"

namespace quorvin::webui {
namespace {

using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::IsEmpty;
using Word = SignallingWord;

struct Said {
  Word word;
  std::uint32_t number;
  Bytes content;
};

// The link between its owner and the test, which is the program.
class SignallingLinkTest : public testing::Test {
 protected:
  FileDescriptor makePair() {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    program = FileDescriptor(ends[0]);
    return FileDescriptor(ends[1]);
  }

  void say(Word word, ByteView content, std::uint32_t number = 1) const {
    sayBytes(writePacket(word, number, content));
  }
  void sayBytes(const Bytes& packet) const {
    ASSERT_EQ(send(program.get(), packet.data(), packet.size(), 0),
              static_cast<ssize_t>(packet.size()));
  }
  void sayReach(Reach reach, const std::string& detail = "") const {
    const auto number = static_cast<std::uint8_t>(reach);
    say(Word::reach, joined({ByteView(&number, 1), bytesOf(detail)}));
  }
  // What has been said so far comes before it.
  void settle(Listener& listener) const {
    const auto last = envelopeFor(1, "settled");
    say(Word::message, last);
    ASSERT_TRUE(
        runUntil([&] { return !listener.messages.empty() && listener.messages.back() == last; }));
    listener.messages.pop_back();
  }

  Said hear() {
    PacketBuffer buffer{};
    ssize_t size = 0;
    EXPECT_TRUE(runUntil([&] {
      size = receivePacket(program.get(), buffer, MSG_DONTWAIT);
      return size >= 0;
    }));
    const auto packet = readPacket(buffer, static_cast<std::size_t>(size));
    if (!packet) return {};
    return {packet->word, packet->number, {packet->content.begin(), packet->content.end()}};
  }
  [[nodiscard]] bool hearsNothing() const {
    PacketBuffer buffer{};
    return receivePacket(program.get(), buffer, MSG_DONTWAIT) < 0;
  }
  // The claim of a listener who has just reached the broker.
  Bytes hearClaim() {
    sayReach(Reach::open);
    auto claim = hear();
    EXPECT_EQ(claim.word, Word::tellPlace);
    EXPECT_EQ(claim.content, writeEnvelope(Kind::claim, nonceOf(random), {}));
    return claim.content;
  }

  std::uint8_t random = 0x80;
  FileDescriptor program;
  SignallingLink link{makePair(), [this](auto bytes) {
                        std::ranges::fill(bytes, random);
                      }};
};

TEST_F(SignallingLinkTest, TellsTheProgramWhatToDo) {
  Listener listener(link, 7, "4829");
  const auto listen = hear();
  EXPECT_EQ(listen.word, Word::listen);
  EXPECT_EQ(listen.number, 1U);
  EXPECT_EQ(listen.content, joined({idOf(7), bytesOf("4829")}));

  listener.place->send(envelopeFor(3, "offer"));
  const auto sent = hear();
  EXPECT_EQ(sent.word, Word::send);
  EXPECT_EQ(sent.content, envelopeFor(3, "offer"));

  listener.place->watch(nonceOf(3));
  const auto watch = hear();
  EXPECT_EQ(watch.word, Word::watch);
  EXPECT_EQ(watch.content, Bytes(16, 3));

  listener.place.reset();
  EXPECT_EQ(hear().word, Word::leave);
  EXPECT_THAT(listener.reaches, IsEmpty());
}

TEST_F(SignallingLinkTest, TellsHowTheBrokerIsReached) {
  Listener listener(link, 7);
  for (const auto reach : {Reach::unreachable, Reach::certificateWrong, Reach::refused}) {
    sayReach(reach, "why");
    settle(listener);
    EXPECT_EQ(listener.reach(), reach);
    EXPECT_EQ(listener.detail, "why");
  }
  sayReach(Reach::open);
  settle(listener);
  EXPECT_EQ(listener.reach(), Reach::open);
  EXPECT_EQ(listener.detail, "");
}

TEST_F(SignallingLinkTest, BelievesTheProgramNothingThatItCannotSay) {
  Listener listener(link, 7);
  sayReach(Reach::placeTaken);
  sayReach(Reach::connecting);
  say(Word::reach, Bytes{200});
  say(Word::reach, {});
  say(Word::send, envelopeFor(1, ""));
  say(Word::placeMessage, envelopeFor(1, "it asked for no place"));
  say(static_cast<Word>(99), {});
  say(Word::gone, Bytes(16, 1));
  say(Word::message, envelopeFor(1, "to nobody"), 2);
  sayBytes({static_cast<std::uint8_t>(Word::message), 1, 0, 0});
  sayBytes(Bytes(packetBytesMax + 1, static_cast<std::uint8_t>(Word::message)));
  settle(listener);
  EXPECT_THAT(listener.reaches, IsEmpty());
  EXPECT_THAT(listener.messages, IsEmpty());
  EXPECT_EQ(listener.timesGone, 0);

  sayReach(Reach::unreachable, "\xff" + std::string(1000, 'a'));
  settle(listener);
  EXPECT_EQ(listener.detail, "\xef\xbf\xbd" + std::string(199, 'a'));
}

TEST_F(SignallingLinkTest, TellsOfTheSupporterWhoIsWatchedOnly) {
  Listener listener(link, 7);
  listener.place->watch(nonceOf(3));
  listener.place->watch(nonceOf(4));
  say(Word::gone, Bytes(16, 3));
  say(Word::gone, Bytes(15, 4));
  settle(listener);
  EXPECT_EQ(listener.timesGone, 0);
  say(Word::gone, Bytes(16, 4));
  settle(listener);
  EXPECT_EQ(listener.timesGone, 1);
}

TEST_F(SignallingLinkTest, HasAPlaceThatNobodyElseSaysIsTheirs) {
  Listener listener(link, 7, "4829");
  hear();
  const auto begin = steady_clock::now();
  const auto claim = hearClaim();
  say(Word::placeMessage, claim);  // comes back
  say(Word::placeMessage, envelopeFor(9, "", Kind::claimed));
  say(Word::placeMessage, envelopeFor(9, "join"));
  settle(listener);
  EXPECT_THAT(listener.reaches, IsEmpty());
  EXPECT_THAT(listener.messages, ElementsAre(envelopeFor(9, "join")));
  ASSERT_TRUE(runUntil([&] { return !listener.reaches.empty(); }));
  EXPECT_THAT(listener.reaches, ElementsAre(Reach::open));
  EXPECT_GE(steady_clock::now() - begin, std::chrono::milliseconds(999));

  // From now on it says so itself, but not to itself.
  say(Word::placeMessage, claim);
  say(Word::placeMessage, envelopeFor(1, "", Kind::claim));
  const auto answer = hear();
  EXPECT_EQ(answer.word, Word::tellPlace);
  EXPECT_EQ(answer.content, envelopeFor(1, "", Kind::claimed));
  EXPECT_TRUE(hearsNothing());
}

TEST_F(SignallingLinkTest, GivesWayToWhoHasThePlaceForGood) {
  Listener listener(link, 7, "4829");
  hear();
  hearClaim();
  say(Word::placeMessage, envelopeFor(random, "", Kind::claimed));
  settle(listener);
  EXPECT_THAT(listener.reaches, ElementsAre(Reach::placeTaken));

  // Those who join by link still find it.
  say(Word::placeMessage, envelopeFor(9, "by code"));
  say(Word::message, envelopeFor(9, "by link"));
  sayReach(Reach::unreachable);
  sayReach(Reach::open);
  settle(listener);
  EXPECT_THAT(listener.messages, ElementsAre(envelopeFor(9, "by link")));
  EXPECT_EQ(listener.reach(), Reach::placeTaken);
  EXPECT_TRUE(hearsNothing());
}

TEST_F(SignallingLinkTest, OfTwoWhoClaimAtOnceTheOneWithTheGreaterBytesGivesWay) {
  Listener listener(link, 7, "4829");
  hear();
  hearClaim();
  say(Word::placeMessage, envelopeFor(0x81, "", Kind::claim));
  const auto answer = hear();
  EXPECT_EQ(answer.content, envelopeFor(0x81, "", Kind::claimed));
  EXPECT_THAT(listener.reaches, IsEmpty());
  say(Word::placeMessage, envelopeFor(0x7f, "", Kind::claim));
  settle(listener);
  EXPECT_THAT(listener.reaches, ElementsAre(Reach::placeTaken));
}

TEST_F(SignallingLinkTest, ClaimsAgainAfterAnInterruption) {
  Listener listener(link, 7, "4829");
  hear();
  hearClaim();
  sayReach(Reach::unreachable);
  random = 0x33;
  hearClaim();
  say(Word::placeMessage, envelopeFor(0x33, "", Kind::claimed));
  settle(listener);
  EXPECT_THAT(listener.reaches, ElementsAre(Reach::unreachable, Reach::placeTaken));
}

TEST_F(SignallingLinkTest, KeepsWhatTheProgramHasNotReadYet) {
  Listener listener(link, 7);
  hear();
  const std::string text(16'000, 'x');
  for (std::uint8_t number = 0; number < 100; ++number) {
    listener.place->send(envelopeFor(number, text.c_str()));
  }
  for (std::uint8_t number = 0; number < 100; ++number) {
    ASSERT_EQ(hear().content, envelopeFor(number, text.c_str()));
  }
}

TEST_F(SignallingLinkTest, GivesUpAProgramThatReadsNothing) {
  Listener listener(link, 7);
  const std::string text(16'000, 'x');
  for (int number = 0; number < 400; ++number) listener.place->send(envelopeFor(1, text.c_str()));
  ASSERT_TRUE(runUntil([&] { return listener.reach() == Reach::unreachable; }));
}

TEST_F(SignallingLinkTest, ReachesNothingOnceTheProgramHasEnded) {
  Listener first(link, 7);
  program.reset();
  ASSERT_TRUE(runUntil([&] { return first.reach() == Reach::unreachable; }));
  EXPECT_EQ(first.detail, "quorvin-signalling has ended; start Quorvin Support again");
  Listener later(link, 8);
  later.place->send(envelopeFor(1, ""));
  EXPECT_THAT(later.reaches, IsEmpty());
  ASSERT_TRUE(runUntil([&] { return later.reach() == Reach::unreachable; }));
}

TEST_F(SignallingLinkTest, LetsAHandlerDestroyThePlace) {
  std::unique_ptr<SignallingPlace> place;
  bool destroyed = false;
  const auto drop = [&] {
    place.reset();
    destroyed = true;
  };
  const auto listenAnew = [&] {
    destroyed = false;
    place = link.listen(
        idOf(1), "1234",
        {[drop](Reach, const std::string&) { drop(); }, [drop](ByteView) { drop(); }, drop});
    return hear().number;
  };
  say(Word::message, envelopeFor(1, ""), listenAnew());
  ASSERT_TRUE(runUntil([&] { return destroyed; }));
  hear();
  const auto number = listenAnew();
  place->watch(nonceOf(1));
  hear();
  say(Word::gone, Bytes(16, 1), number);
  ASSERT_TRUE(runUntil([&] { return destroyed; }));
  hear();
  const std::array open{static_cast<std::uint8_t>(Reach::open)};
  say(Word::reach, open, listenAnew());  // and after a second's claim
  ASSERT_TRUE(runUntil([&] { return destroyed; }));
  listenAnew();
  program.reset();
  ASSERT_TRUE(runUntil([&] { return destroyed; }));
}

}  // namespace
}  // namespace quorvin::webui
