#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "platform/flutter/LinkFrame.h"
#include "platform/flutter/StandardCodec.h"
#include "platform/linux/link/UiLink.h"

namespace quorvin {
namespace {

Bytes replyFrame(std::uint32_t id, std::size_t payloadSize = 1) {
  return encodeLinkFrame({LinkFrameType::reply, id, {}, Data(Bytes(payloadSize, 0xAB))});
}

Value frameOf(std::uint8_t mark, std::size_t size = 8) {
  return Value(Data(Bytes(size, mark)));
}

// What goes out, in the reader's eyes: "reply 7", "event 3 of frames".
std::vector<std::string> drain(MessageQueue& queue) {
  LinkFrameReader reader;
  std::vector<std::string> seen;
  for (auto bytes = queue.next(); !bytes.empty(); bytes = queue.next()) {
    reader.append(bytes);
    queue.wrote(bytes.size());
    while (const auto frame = reader.next()) {
      if (frame->type == LinkFrameType::message) {
        const auto event = std::get<Value>(decodeEnvelope(frame->payload.bytes()));
        const auto* data = event.as<Data>();
        seen.push_back("event " + std::to_string(data->bytes()[0]) + " of " + frame->channel);
      } else {
        seen.push_back("reply " + std::to_string(frame->id));
      }
    }
  }
  return seen;
}

using Seen = std::vector<std::string>;

TEST(MessageQueue, HasNothingToWriteWhenEmpty) {
  MessageQueue queue;
  EXPECT_TRUE(queue.next().empty());
  EXPECT_EQ(queue.waitingBytes(), 0U);
}

TEST(MessageQueue, KeepsTheOrderOfMessages) {
  MessageQueue queue;
  for (std::uint32_t id = 1; id <= 5; ++id) EXPECT_TRUE(queue.pushMessage(replyFrame(id)));
  EXPECT_EQ(drain(queue), (Seen{"reply 1", "reply 2", "reply 3", "reply 4", "reply 5"}));
}

TEST(MessageQueue, KeepsOnlyTheNewestWaitingEvent) {
  MessageQueue queue;
  for (std::uint8_t mark = 1; mark <= 9; ++mark) queue.pushEvent("frames", frameOf(mark));
  EXPECT_EQ(drain(queue), Seen{"event 9 of frames"});
}

TEST(MessageQueue, KeepsOneWaitingEventOfEachChannel) {
  MessageQueue queue;
  queue.pushEvent("a", frameOf(1));
  queue.pushEvent("b", frameOf(2));
  queue.pushEvent("a", frameOf(3));
  EXPECT_EQ(drain(queue), (Seen{"event 2 of b", "event 3 of a"}));
}

TEST(MessageQueue, SendsAReplyAfterTheEventThatWaitsAlready) {
  MessageQueue queue;
  queue.pushEvent("frames", frameOf(1));
  EXPECT_TRUE(queue.pushMessage(replyFrame(7)));
  EXPECT_EQ(drain(queue), (Seen{"event 1 of frames", "reply 7"}));
}

TEST(MessageQueue, PutsANewerEventAtTheEnd) {
  MessageQueue queue;
  queue.pushEvent("frames", frameOf(1));
  EXPECT_TRUE(queue.pushMessage(replyFrame(7)));
  queue.pushEvent("frames", frameOf(2));
  EXPECT_TRUE(queue.pushMessage(replyFrame(8)));
  EXPECT_EQ(drain(queue), (Seen{"reply 7", "event 2 of frames", "reply 8"}));
}

TEST(MessageQueue, KeepsOneEventHoweverManyMessagesWaitBetweenThem) {
  MessageQueue queue;
  auto bytes = std::make_shared<const Bytes>(8, 0);
  const std::weak_ptr former = bytes;
  queue.pushEvent("frames", Value(Data(bytes, *bytes)));
  bytes.reset();
  for (std::uint32_t id = 1; id <= 3; ++id) {
    EXPECT_TRUE(queue.pushMessage(replyFrame(id)));
    queue.pushEvent("frames", frameOf(static_cast<std::uint8_t>(id)));
  }
  EXPECT_TRUE(former.expired());
  EXPECT_EQ(drain(queue), (Seen{"reply 1", "reply 2", "reply 3", "event 3 of frames"}));
}

TEST(MessageQueue, FinishesAnEventThatHasBegunBeforeAnythingElse) {
  MessageQueue queue;
  queue.pushEvent("frames", frameOf(1, 1000));
  const auto begun = queue.next();
  LinkFrameReader reader;
  reader.append(begun.first(10));
  queue.wrote(10);
  EXPECT_TRUE(queue.pushMessage(replyFrame(7)));
  queue.pushEvent("frames", frameOf(2));
  queue.dropEvent("frames");
  queue.pushEvent("frames", frameOf(3));

  const auto rest = queue.next();
  reader.append(rest);
  queue.wrote(rest.size());
  const auto first = reader.next();
  ASSERT_TRUE(first.has_value());
  EXPECT_EQ(std::get<Value>(decodeEnvelope(first->payload.bytes())), frameOf(1, 1000));
  EXPECT_EQ(drain(queue), (Seen{"reply 7", "event 3 of frames"}));
}

TEST(MessageQueue, SurvivesWritesOfSingleBytes) {
  MessageQueue queue;
  EXPECT_TRUE(queue.pushMessage(replyFrame(1, 40)));
  queue.pushEvent("frames", frameOf(2, 40));
  Bytes written;
  for (auto bytes = queue.next(); !bytes.empty(); bytes = queue.next()) {
    written.push_back(bytes[0]);
    queue.wrote(1);
  }
  auto expected = replyFrame(1, 40);
  const auto event = encodeEventLinkFrame("frames", frameOf(2, 40));
  expected.insert(expected.end(), event.begin(), event.end());
  EXPECT_EQ(written, expected);
}

TEST(MessageQueue, ForgetsADroppedEvent) {
  MessageQueue queue;
  queue.pushEvent("a", frameOf(1));
  queue.pushEvent("b", frameOf(2));
  queue.dropEvent("a");
  EXPECT_EQ(drain(queue), Seen{"event 2 of b"});
}

TEST(MessageQueue, LeavesOutAnEventThatTheCodecCannotSay) {
  MessageQueue queue;
  queue.pushEvent("a", Value("\xFF is not UTF-8"));
  EXPECT_TRUE(queue.pushMessage(replyFrame(1)));
  queue.pushEvent("b", frameOf(2));
  EXPECT_EQ(drain(queue), (Seen{"reply 1", "event 2 of b"}));
}

TEST(MessageQueue, HasNothingToWriteWhenItsOnlyEventCannotBeSaid) {
  MessageQueue queue;
  queue.pushEvent("a", Value("\xFF is not UTF-8"));
  EXPECT_TRUE(queue.next().empty());
}

TEST(MessageQueue, CountsTheMessageBytesThatAreNotWritten) {
  MessageQueue queue;
  const auto frame = replyFrame(1, 100);
  EXPECT_TRUE(queue.pushMessage(frame));
  EXPECT_TRUE(queue.pushMessage(frame));
  queue.pushEvent("frames", frameOf(1, 5000));
  EXPECT_EQ(queue.waitingBytes(), 2 * frame.size());
  ASSERT_EQ(queue.next().size(), frame.size());
  queue.wrote(30);
  EXPECT_EQ(queue.waitingBytes(), 2 * frame.size() - 30);
  queue.wrote(frame.size() - 30);
  drain(queue);
  EXPECT_EQ(queue.waitingBytes(), 0U);
}

TEST(MessageQueue, TakesExactlyTheLimitAndNoByteMore) {
  constexpr std::size_t replyHead = 9;  // length, type and id
  constexpr std::size_t half = MessageQueue::waitingBytesMax / 2;
  MessageQueue queue;
  EXPECT_TRUE(queue.pushMessage(replyFrame(1, half - replyHead)));
  EXPECT_TRUE(queue.pushMessage(replyFrame(2, half - replyHead)));
  EXPECT_EQ(queue.waitingBytes(), MessageQueue::waitingBytesMax);
  EXPECT_FALSE(queue.pushMessage(replyFrame(3)));
  EXPECT_EQ(drain(queue), (Seen{"reply 1", "reply 2"}));
  EXPECT_TRUE(queue.pushMessage(replyFrame(3)));
}

}  // namespace
}  // namespace quorvin
