#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include "platform/linux/jpeg/ThreadPool.h"

namespace quorvin {
namespace {

TEST(ThreadPool, DoesEverythingOnceBeforeItReturns) {
  ThreadPool pool(3);
  for (std::size_t count = 0; count < 200; ++count) {
    std::vector<int> done(count);
    pool.parallelFor(count, [&done](std::size_t i) { ++done[i]; });
    EXPECT_EQ(done, std::vector<int>(count, 1));
  }
}

TEST(ThreadPool, WorksOnSeveralThreadsAtOnce) {
  ThreadPool pool(2);
  std::latch allThere(3);
  pool.parallelFor(3, [&allThere](std::size_t /*i*/) { allThere.arrive_and_wait(); });
  EXPECT_TRUE(allThere.try_wait());
}

TEST(ThreadPool, DoesWithoutHelpers) {
  ThreadPool pool(0);
  const auto caller = std::this_thread::get_id();
  int done = 0;
  pool.parallelFor(5, [&](std::size_t /*i*/) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    ++done;
  });
  EXPECT_EQ(done, 5);
}

TEST(ThreadPool, EndsOnAnotherThreadThanItWasMadeOn) {
  auto pool = std::make_unique<ThreadPool>(2);
  std::atomic<int> done = 0;
  std::thread([&done, pool = std::move(pool)]() mutable {
    pool->parallelFor(8, [&done](std::size_t /*i*/) { ++done; });
    pool.reset();
  }).join();
  EXPECT_EQ(done, 8);
}

}  // namespace
}  // namespace quorvin
