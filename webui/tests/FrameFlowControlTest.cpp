#include <gtest/gtest.h>

#include "webui/FrameFlowControl.h"

namespace quorvin::webui {
namespace {

Frame numbered(std::uint8_t number) {
  return {Data(Bytes{number}), {}};
}

std::uint8_t numberOf(const std::optional<Frame>& frame) {
  return frame ? *frame->payload.data() : std::uint8_t{0};
}

TEST(FrameFlowControl, PageThatDoesNotAcknowledgeGetsTheFirstFramesThenTheNewest) {
  FrameFlowControl flowControl;
  EXPECT_EQ(numberOf(flowControl.offer(numbered(1))), 1);
  EXPECT_EQ(numberOf(flowControl.offer(numbered(2))), 2);
  for (std::uint8_t number = 3; number <= 100; ++number) {
    EXPECT_FALSE(flowControl.offer(numbered(number)));
  }
  EXPECT_EQ(numberOf(flowControl.acknowledge(1)), 100);
  EXPECT_FALSE(flowControl.acknowledge(1));
  EXPECT_EQ(numberOf(flowControl.offer(numbered(101))), 101);
  EXPECT_FALSE(flowControl.offer(numbered(102)));
}

TEST(FrameFlowControl, SpareAcknowledgementsOpenNoBacklog) {
  FrameFlowControl flowControl;
  EXPECT_FALSE(flowControl.acknowledge(1000));
  EXPECT_TRUE(flowControl.offer(numbered(1)));
  EXPECT_TRUE(flowControl.offer(numbered(2)));
  EXPECT_FALSE(flowControl.offer(numbered(3)));
}

TEST(FrameFlowControl, DroppedFrameIsNotSentLater) {
  FrameFlowControl flowControl;
  EXPECT_TRUE(flowControl.offer(numbered(1)));
  EXPECT_TRUE(flowControl.offer(numbered(2)));
  EXPECT_FALSE(flowControl.offer(numbered(3)));
  flowControl.dropWaiting();
  EXPECT_FALSE(flowControl.acknowledge(1));
}

TEST(FrameFlowControl, GateDecidesInThePlaceOfTheCount) {
  bool open = true;
  FrameFlowControl flowControl([&open] { return open; });
  for (std::uint8_t number = 1; number <= 9; ++number) {
    EXPECT_EQ(numberOf(flowControl.offer(numbered(number))), number);
  }
  open = false;
  EXPECT_FALSE(flowControl.offer(numbered(10)));
  EXPECT_FALSE(flowControl.acknowledge(9));
  open = true;
  EXPECT_EQ(numberOf(flowControl.due()), 10);
  EXPECT_FALSE(flowControl.due());
}

TEST(FrameFlowControl, WhatWaitedIsNotSentAfterANewerOne) {
  bool open = false;
  FrameFlowControl flowControl([&open] { return open; });
  EXPECT_FALSE(flowControl.offer(numbered(1)));
  open = true;
  EXPECT_EQ(numberOf(flowControl.offer(numbered(2))), 2);
  EXPECT_FALSE(flowControl.due());
}

}  // namespace
}  // namespace quorvin::webui
