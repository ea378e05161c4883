// A user interface that stops reading while the screen changes all the time.

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/EnvironmentNumber.h"
#include "tests/e2e/link/HostHarness.h"
#include "tests/e2e/link/ScreenNoise.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t growthBytesMax = std::size_t{32} * 1024 * 1024;

// How long the reader stops, in seconds: QUORVIN_LATE_READER_S, or a few.
std::chrono::seconds stoppedFor() {
  return std::chrono::seconds(numberFromEnvironment("QUORVIN_LATE_READER_S").value_or(4));
}

TEST(LateReader, CostsBoundedMemoryAndIsAnsweredAgain) {
  HostHarness harness;
  ConnectedHost host(harness);
  const ScreenNoise noise(harness.server.display());
  host.client->listen();
  ASSERT_TRUE(host.startCapture());
  // Everything that is made once is there after some frames.
  for (int frame = 0; frame < 30; ++frame) ASSERT_TRUE(host.nextFrame());

  const auto before = host.process->residentBytes();
  auto highest = before;
  const auto resume = Clock::now() + stoppedFor();
  while (Clock::now() < resume) {
    highest = std::max(highest, host.process->residentBytes());
    std::this_thread::sleep_for(20ms);
  }
  RecordProperty("growth_kib", static_cast<int>((highest - before) / 1024));
  EXPECT_LE(highest - before, growthBytesMax);

  // The frames that were under way come first, so the first call is not measured.
  host.client->call("permissions");
  auto slowest = Clock::duration::zero();
  for (int call = 0; call < 50; ++call) {
    const auto sent = Clock::now();
    host.client->call("permissions");
    slowest = std::max(slowest, Clock::now() - sent);
  }
  const auto slowestMs = std::chrono::duration_cast<std::chrono::milliseconds>(slowest).count();
  // For the reader of the results; how long is fine depends on the machine.
  RecordProperty("slowest_reply_ms", static_cast<int>(slowestMs));
  EXPECT_TRUE(host.nextFrame());
}

}  // namespace
}  // namespace quorvin
