#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include "platform/linux/jpeg/WorkerTeam.h"

namespace quorvin {
namespace {

TEST(WorkerTeam, DoesEverythingOnceBeforeItReturns) {
  WorkerTeam team(3);
  for (std::size_t count = 0; count < 200; ++count) {
    std::vector<int> done(count);
    team.run(count, [&done](std::size_t i) { ++done[i]; });
    EXPECT_EQ(done, std::vector<int>(count, 1));
  }
}

TEST(WorkerTeam, WorksOnSeveralThreadsAtOnce) {
  WorkerTeam team(2);
  std::latch allThere(3);
  team.run(3, [&allThere](std::size_t /*i*/) { allThere.arrive_and_wait(); });
  EXPECT_TRUE(allThere.try_wait());
}

TEST(WorkerTeam, DoesWithoutHelpers) {
  WorkerTeam team(0);
  const auto caller = std::this_thread::get_id();
  int done = 0;
  team.run(5, [&](std::size_t /*i*/) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    ++done;
  });
  EXPECT_EQ(done, 5);
}

TEST(WorkerTeam, EndsOnAnotherThreadThanItWasMadeOn) {
  auto team = std::make_unique<WorkerTeam>(2);
  std::atomic<int> done = 0;
  std::thread([&done, team = std::move(team)]() mutable {
    team->run(8, [&done](std::size_t /*i*/) { ++done; });
    team.reset();
  }).join();
  EXPECT_EQ(done, 8);
}

}  // namespace
}  // namespace quorvin
