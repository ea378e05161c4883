#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/linux/jpeg/FrameBufferPool.h"

namespace quorvin {
namespace {

class FrameBufferPoolTest : public testing::Test {
 protected:
  const std::shared_ptr<FrameBufferPool> pool = std::make_shared<FrameBufferPool>();
};

TEST_F(FrameBufferPoolTest, LendsAReturnedBufferAgain) {
  const auto* memory = pool->take(1000).get();
  EXPECT_EQ(pool->keptCount(), 1U);
  EXPECT_EQ(pool->take(1000).get(), memory);
}

TEST_F(FrameBufferPoolTest, FitsABufferToEachFile) {
  for (const std::size_t size : {1000U, 1001U, 1500U, 900U, 1U, 0U, 70'000U}) {
    const auto buffer = pool->take(size);
    std::fill_n(buffer.get(), size, std::uint8_t{1});
  }
  EXPECT_EQ(pool->keptCount(), 1U);
  EXPECT_EQ(pool->keptBytes(), 70'000U);
}

TEST_F(FrameBufferPoolTest, KeepsNoMoreThanAFewBuffers) {
  std::vector<std::shared_ptr<std::uint8_t>> taken;
  for (std::size_t i = 0; i < FrameBufferPool::maximumKept + 3; ++i) {
    taken.push_back(pool->take(1 << 16));
  }
  taken.clear();
  EXPECT_EQ(pool->keptCount(), FrameBufferPool::maximumKept);
}

TEST_F(FrameBufferPoolTest, DropsBuffersMuchLargerThanTheLastFile) {
  const auto underWay = pool->take(100'000);
  static_cast<void>(pool->take(100'000));
  const auto small = pool->take(1000);
  EXPECT_EQ(pool->keptBytes(), 0U);
}

TEST_F(FrameBufferPoolTest, DropsALargeBufferThatComesBackLate) {
  auto large = pool->take(100'000);
  const auto small = pool->take(1000);
  large.reset();
  EXPECT_EQ(pool->keptBytes(), 0U);
}

}  // namespace
}  // namespace quorvin
