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
  const auto* memory = pool->take(1000).bytes.get();
  EXPECT_EQ(pool->keptCount(), 1U);
  EXPECT_EQ(pool->take(1000).bytes.get(), memory);
}

TEST_F(FrameBufferPoolTest, FitsABufferToEachFile) {
  for (const std::size_t size : {1000U, 1001U, 1500U, 900U, 1U, 0U, 70'000U}) {
    const auto buffer = pool->take(size);
    EXPECT_GE(buffer.capacityBytes, size);
    EXPECT_LE(buffer.capacityBytes, size + size / 8);
    std::fill_n(buffer.bytes.get(), buffer.capacityBytes, std::uint8_t{1});
  }
  EXPECT_EQ(pool->keptCount(), 1U);
}

TEST_F(FrameBufferPoolTest, KeepsABufferAsItIsForFilesOfNearlyItsSize) {
  const auto first = pool->take(100'000).capacityBytes;
  for (const std::size_t size : {100'000U, 97'000U, 105'000U, 99'000U}) {
    EXPECT_EQ(pool->take(size).capacityBytes, first) << size;
  }
  EXPECT_NE(pool->take(first + 1).capacityBytes, first);
  EXPECT_LT(pool->take(90'000).capacityBytes, first);
}

TEST_F(FrameBufferPoolTest, KeepsNoMoreThanAFewBuffers) {
  std::vector<FrameBufferPool::Buffer> taken;
  for (std::size_t i = 0; i < FrameBufferPool::maximumKept + 3; ++i) {
    taken.push_back(pool->take(1 << 16));
  }
  taken.clear();
  EXPECT_EQ(pool->keptCount(), FrameBufferPool::maximumKept);
}

TEST_F(FrameBufferPoolTest, DropsBuffersMuchLargerThanTheLastFile) {
  {
    const auto first = pool->take(100'000);
    const auto second = pool->take(100'000);
  }
  ASSERT_EQ(pool->keptCount(), 2U);
  const auto small = pool->take(1000);
  EXPECT_EQ(pool->keptCount(), 0U);
}

TEST_F(FrameBufferPoolTest, DropsALargeBufferThatComesBackLate) {
  auto large = pool->take(100'000);
  const auto small = pool->take(1000);
  large = {};
  EXPECT_EQ(pool->keptCount(), 0U);
}

}  // namespace
}  // namespace quorvin
