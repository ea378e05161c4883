#include <gtest/gtest.h>

#include "webui/FrameGate.h"

namespace quorvin::webui {
namespace {

Frame numbered(std::uint8_t number) {
  return {Data(Bytes{number}), {}};
}

std::uint8_t numberOf(const std::optional<Frame>& frame) {
  return frame ? *frame->payload.data() : std::uint8_t{0};
}

TEST(FrameGate, PageThatDoesNotAcknowledgeGetsTheFirstFrameThenTheNewest) {
  FrameGate gate;
  EXPECT_EQ(numberOf(gate.offer(numbered(1))), 1);
  for (std::uint8_t number = 2; number <= 100; ++number) {
    EXPECT_FALSE(gate.offer(numbered(number)));
  }
  EXPECT_EQ(numberOf(gate.acknowledge(1)), 100);
  EXPECT_FALSE(gate.acknowledge(1));
  EXPECT_EQ(numberOf(gate.offer(numbered(101))), 101);
}

TEST(FrameGate, SpareAcknowledgementsOpenNoBacklog) {
  FrameGate gate;
  EXPECT_FALSE(gate.acknowledge(1000));
  EXPECT_TRUE(gate.offer(numbered(1)));
  EXPECT_FALSE(gate.offer(numbered(2)));
}

TEST(FrameGate, DroppedFrameIsNotSentLater) {
  FrameGate gate;
  EXPECT_TRUE(gate.offer(numbered(1)));
  EXPECT_FALSE(gate.offer(numbered(2)));
  gate.dropWaiting();
  EXPECT_FALSE(gate.acknowledge(1));
}

}  // namespace
}  // namespace quorvin::webui
