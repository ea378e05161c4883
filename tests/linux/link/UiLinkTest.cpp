#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <string>

#include "platform/flutter/StandardCodec.h"
#include "platform/linux/link/UiLink.h"
#include "tests/linux/link/LinkPeer.h"
#include "tests/linux/link/TestLoop.h"

namespace quorvin {
namespace {

constexpr auto frames = "frames";

class UiLinkTest : public testing::Test {
 protected:
  UiLinkTest() {
    link = UiLink::open(loop.context(), peer.takeHostsEnd(),
                        {.onMessage =
                             [this](const LinkFrame& message) {
                               messages.push_back(message);
                               if (onMessage) onMessage(message);
                             },
                         .onClosed =
                             [this] {
                               ++closings;
                             }});
  }

  bool runUntilMessages(std::size_t count) {
    return loop.runUntil([&] { return messages.size() >= count; });
  }

  bool runUntilFrames(std::size_t count) {
    return loop.runUntil([&] {
      peer.receive();
      loop.runUntilIdle();
      return peer.frames.size() >= count;
    });
  }

  // The other side's whole view of a link that the host closed by itself.
  void expectClosed() {
    EXPECT_TRUE(loop.runUntil([&] { return closings > 0; }));
    loop.runUntilIdle();
    peer.receive();
    EXPECT_TRUE(peer.sawClose());
    EXPECT_EQ(closings, 1);
    EXPECT_FALSE(link->isOpen());
  }

  // Sends events until the socket is full and one waits.
  void clogWithEvents() {
    for (std::uint8_t mark = 1; mark <= 3; ++mark) link->sendEvent(frames, eventOf(mark));
  }

  static Value eventOf(std::uint8_t mark) {
    return Value(Data(Bytes(std::size_t{4} * 1024 * 1024, mark)));
  }

  static std::uint8_t markOf(const LinkFrame& frame) {
    return std::get<Value>(decodeEnvelope(frame.payload.bytes())).as<Data>()->bytes()[0];
  }

  TestLoop loop;
  LinkPeer peer;
  std::function<void(const LinkFrame&)> onMessage;
  std::vector<LinkFrame> messages;
  int closings = 0;
  std::shared_ptr<UiLink> link;
};

TEST_F(UiLinkTest, HandsMessagesOnInTheOrderSent) {
  for (std::uint32_t id = 1; id <= 150; ++id) {
    ASSERT_TRUE(peer.sendMessage("channel", id, {static_cast<std::uint8_t>(id)}));
  }
  ASSERT_TRUE(runUntilMessages(150));
  for (std::uint32_t id = 1; id <= 150; ++id) EXPECT_EQ(messages[id - 1].id, id);
  EXPECT_EQ(messages[6].channel, "channel");
  EXPECT_EQ(messages[6].payload, Data(Bytes{7}));
}

TEST_F(UiLinkTest, PutsSplitMessagesTogether) {
  const auto bytes = encodeLinkFrame({LinkFrameType::message, 9, "channel", Data(Bytes(20, 5))});
  for (const auto byte : bytes) {
    ASSERT_EQ(peer.sendBytes(std::span(&byte, 1)), 1U);
    loop.runUntilIdle();
  }
  ASSERT_TRUE(runUntilMessages(1));
  EXPECT_EQ(messages[0].payload, Data(Bytes(20, 5)));
}

TEST_F(UiLinkTest, SendsEachReplyOnce) {
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  ASSERT_TRUE(runUntilMessages(1));
  link->reply(4, Bytes{1, 2});
  link->reply(4, Bytes{3});
  link->reply(5, Bytes{4});  // nobody asked
  ASSERT_TRUE(runUntilFrames(1));
  loop.runUntilIdle();
  peer.receive();
  ASSERT_EQ(peer.frames.size(), 1U);
  EXPECT_EQ(peer.frames[0], (LinkFrame{LinkFrameType::reply, 4, {}, Data(Bytes{1, 2})}));
}

TEST_F(UiLinkTest, SendsTheNullReplyWithoutData) {
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  ASSERT_TRUE(runUntilMessages(1));
  link->reply(4, std::nullopt);
  ASSERT_TRUE(runUntilFrames(1));
  EXPECT_EQ(peer.frames[0], (LinkFrame{LinkFrameType::emptyReply, 4, {}, {}}));
}

TEST_F(UiLinkTest, LetsAnAnsweredIdBeUsedAgain) {
  onMessage = [this](const LinkFrame& message) {
    link->reply(message.id, Bytes{});
  };
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  EXPECT_TRUE(runUntilFrames(2));
  EXPECT_EQ(closings, 0);
}

TEST_F(UiLinkTest, TellsOnceThatTheOtherSideClosed) {
  peer.close();
  EXPECT_TRUE(loop.runUntil([&] { return closings > 0; }));
  loop.runUntilIdle();
  EXPECT_EQ(closings, 1);
  EXPECT_FALSE(link->isOpen());
}

TEST_F(UiLinkTest, HandlesWhatWasSentBeforeTheOtherSideClosed) {
  for (std::uint32_t id = 1; id <= 150; ++id) ASSERT_TRUE(peer.sendMessage("channel", id, {}));
  peer.close();
  EXPECT_TRUE(loop.runUntil([&] { return closings > 0; }));
  EXPECT_EQ(messages.size(), 150U);
}

TEST_F(UiLinkTest, TellsInALaterTurnThatWritingFailed) {
  peer.close();
  link->sendEvent(frames, eventOf(1));
  EXPECT_FALSE(link->isOpen());
  EXPECT_EQ(closings, 0);
  EXPECT_TRUE(loop.runUntil([&] { return closings > 0; }));
}

TEST_F(UiLinkTest, DropsWhatIsSentAfterClosing) {
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  ASSERT_TRUE(runUntilMessages(1));
  link->close();
  link->reply(4, Bytes{1});
  link->sendEvent(frames, eventOf(1));
  link->sendMessage(frames, encodeErrorEnvelope({"code", {}, {}}));
  loop.runUntilIdle();
  peer.receive();
  EXPECT_TRUE(peer.sawClose());
  EXPECT_TRUE(peer.frames.empty());
  EXPECT_EQ(closings, 0);
}

TEST_F(UiLinkTest, MayBeClosedByAMessageItBrings) {
  onMessage = [this](const LinkFrame&) {
    link->close();
    link.reset();
  };
  for (std::uint32_t id = 1; id <= 3; ++id) ASSERT_TRUE(peer.sendMessage("channel", id, {}));
  ASSERT_TRUE(runUntilMessages(1));
  loop.runUntilIdle();
  EXPECT_EQ(messages.size(), 1U);
}

TEST_F(UiLinkTest, ClosesOnAReplyNobodyAskedFor) {
  ASSERT_TRUE(peer.send({LinkFrameType::reply, 1, {}, Data(Bytes{0, 0})}));
  expectClosed();
}

TEST_F(UiLinkTest, ClosesOnAnEmptyReplyNobodyAskedFor) {
  ASSERT_TRUE(peer.send({LinkFrameType::emptyReply, 0, {}, {}}));
  expectClosed();
}

TEST_F(UiLinkTest, ClosesOnAnIdThatStillWaitsForItsAnswer) {
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  expectClosed();
  EXPECT_EQ(messages.size(), 1U);
}

TEST_F(UiLinkTest, AllowsManyMessagesThatWantNoReply) {
  ASSERT_TRUE(peer.sendMessage("channel", 0, {}));
  ASSERT_TRUE(peer.sendMessage("channel", 0, {}));
  ASSERT_TRUE(runUntilMessages(2));
  EXPECT_EQ(closings, 0);
  link->reply(0, Bytes{1});
  loop.runUntilIdle();
  peer.receive();
  EXPECT_TRUE(peer.frames.empty());
}

struct HostileBytes {
  const char* name;
  Bytes bytes;
};

class UiLinkHostileBytes : public UiLinkTest, public testing::WithParamInterface<HostileBytes> {};

TEST_P(UiLinkHostileBytes, CloseTheLink) {
  ASSERT_TRUE(peer.sendMessage("channel", 1, {}));
  ASSERT_EQ(peer.sendBytes(GetParam().bytes), GetParam().bytes.size());
  expectClosed();
  EXPECT_EQ(messages.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, UiLinkHostileBytes,
    testing::Values(HostileBytes{"LengthZero", {0, 0, 0, 0}},
                    HostileBytes{"LengthBelowTheHead", {4, 0, 0, 0, 0, 0, 0, 0}},
                    HostileBytes{"LengthAboveTheLimit", {1, 0, 0, 4}},
                    HostileBytes{"LengthOfFourGigabytes", {255, 255, 255, 255}},
                    HostileBytes{"UnknownType", {5, 0, 0, 0, 3, 1, 0, 0, 0}},
                    HostileBytes{"MessageWithoutAChannel", {5, 0, 0, 0, 0, 1, 0, 0, 0}},
                    HostileBytes{"ChannelBeyondTheFrame", {8, 0, 0, 0, 0, 1, 0, 0, 0, 9, 0, 'x'}},
                    HostileBytes{"ChannelThatIsNotUtf8", {8, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0xFF}}),
    [](const auto& hostile) { return hostile.param.name; });

TEST_F(UiLinkTest, NeverBlocksOnAReaderWhoStopped) {
  for (int round = 0; round < 100; ++round) link->sendEvent(frames, eventOf(1));
  loop.runUntilIdle();
  EXPECT_TRUE(link->isOpen());
}

TEST_F(UiLinkTest, SendsTheBegunAndTheNewestEventToALateReader) {
  for (std::uint8_t mark = 1; mark <= 50; ++mark) link->sendEvent(frames, eventOf(mark));
  ASSERT_TRUE(runUntilFrames(2));
  loop.runUntilIdle();
  peer.receive();
  ASSERT_EQ(peer.frames.size(), 2U);
  EXPECT_EQ(markOf(peer.frames[0]), 1);
  EXPECT_EQ(markOf(peer.frames[1]), 50);
}

TEST_F(UiLinkTest, SendsAReplyAfterTheEventThatWaitsAlready) {
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  ASSERT_TRUE(runUntilMessages(1));
  clogWithEvents();
  link->reply(4, Bytes{1});
  ASSERT_TRUE(runUntilFrames(3));
  EXPECT_EQ(markOf(peer.frames[0]), 1);
  EXPECT_EQ(markOf(peer.frames[1]), 3);
  EXPECT_EQ(peer.frames[2].type, LinkFrameType::reply);
}

TEST_F(UiLinkTest, SendsNoEventFromBeforeAMessageAfterIt) {
  clogWithEvents();
  link->sendMessage("text", {1, 2});
  link->sendEvent(frames, eventOf(9));
  ASSERT_TRUE(runUntilFrames(3));
  EXPECT_EQ(markOf(peer.frames[0]), 1);
  EXPECT_EQ(peer.frames[1], (LinkFrame{LinkFrameType::message, 0, "text", Data(Bytes{1, 2})}));
  EXPECT_EQ(markOf(peer.frames[2]), 9);
}

TEST_F(UiLinkTest, DropsAMessageThatIsTooLongForAFrame) {
  link->sendMessage("text", Bytes(linkFrameLengthMax, 'x'));
  link->sendMessage("text", {1});
  ASSERT_TRUE(runUntilFrames(1));
  EXPECT_EQ(peer.frames[0].payload, Data(Bytes{1}));
  EXPECT_TRUE(link->isOpen());
}

TEST_F(UiLinkTest, ReadsMessagesWhileWritingIsClogged) {
  clogWithEvents();
  for (std::uint32_t id = 1; id <= 20; ++id) ASSERT_TRUE(peer.sendMessage("channel", id, {}));
  EXPECT_TRUE(runUntilMessages(20));
  EXPECT_TRUE(peer.frames.empty());
}

TEST_F(UiLinkTest, DeliversALargeReplyToASlowReader) {
  ASSERT_TRUE(peer.sendMessage("channel", 4, {}));
  ASSERT_TRUE(runUntilMessages(1));
  const Bytes large(std::size_t{3} * 1024 * 1024, 0x5A);
  link->reply(4, large);
  while (peer.frames.empty()) {
    peer.receive(10'007);
    loop.runUntilIdle();
    ASSERT_FALSE(peer.sawClose());
  }
  EXPECT_EQ(peer.frames[0].payload, Data(large));
}

// Asks for `count` replies of 4 MiB without reading any.
void askWithoutReading(UiLink& link, const LinkPeer& peer, const TestLoop& loop, int count) {
  for (int id = 1; id <= count; ++id) {
    ASSERT_TRUE(peer.sendMessage("channel", static_cast<std::uint32_t>(id), {}));
    loop.runUntilIdle();
    link.reply(static_cast<std::uint32_t>(id), Bytes(std::size_t{4} * 1024 * 1024, 1));
  }
}

TEST_F(UiLinkTest, KeepsSixtyMebibytesOfRepliesForALateReader) {
  askWithoutReading(*link, peer, loop, 15);
  EXPECT_TRUE(link->isOpen());
  EXPECT_TRUE(runUntilFrames(15));
  EXPECT_EQ(closings, 0);
}

TEST_F(UiLinkTest, ClosesWhenMoreThanTheLimitOfRepliesWaits) {
  askWithoutReading(*link, peer, loop, 17);
  EXPECT_FALSE(link->isOpen());
  EXPECT_TRUE(loop.runUntil([&] { return closings > 0; }));
  EXPECT_EQ(closings, 1);
}

TEST_F(UiLinkTest, LeavesOthersTheirTurnsDuringAFlood) {
  std::size_t turns = 0;
  std::size_t messagesAtFirstTurn = 0;
  const auto other = MainLoopSource::onTurn(loop.context(), G_PRIORITY_HIGH_IDLE, [&] {
    if (turns++ == 0) messagesAtFirstTurn = messages.size();
    return MainLoopSource::Next::again;
  });
  Bytes flood;
  const auto message = encodeLinkFrame({LinkFrameType::message, 0, "channel", {}});
  for (int count = 0; count < 5000; ++count) {
    flood.insert(flood.end(), message.begin(), message.end());
  }
  std::size_t sent = 0;
  ASSERT_GT(sent = peer.sendBytes(flood), message.size() * 1000);
  const bool arrived = loop.runUntil([&] {
    sent += peer.sendBytes(std::span(flood).subspan(sent));
    // The other is less urgent than reading.
    return turns >= 1;
  });
  ASSERT_TRUE(arrived);
  EXPECT_LT(messagesAtFirstTurn, 200U);
}

TEST_F(UiLinkTest, HandlesAllOfAFlood) {
  Bytes flood;
  const auto message =
      encodeLinkFrame({LinkFrameType::message, 0, "channel", Data(Bytes{1, 2, 3})});
  for (int count = 0; count < 20'000; ++count) {
    flood.insert(flood.end(), message.begin(), message.end());
  }
  std::size_t sent = 0;
  EXPECT_TRUE(loop.runUntil([&] {
    if (sent < flood.size()) sent += peer.sendBytes(std::span(flood).subspan(sent));
    return messages.size() == 20'000;
  }));
}

}  // namespace
}  // namespace quorvin
