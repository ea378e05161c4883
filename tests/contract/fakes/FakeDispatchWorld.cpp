#include <memory>
#include <string>

#include "tests/contract/DispatchContract.h"
#include "tests/fakes/SimulatedDispatch.h"

namespace quorvin::contract {
namespace {

class FakeDispatchWorld final : public DispatchWorld {
 public:
  FakeDispatchWorld(std::uint64_t seed, bool randomLeeway) : simulated(seed, randomLeeway) {}

  Dispatch& dispatch() override { return simulated; }
  bool runUntil(const Condition& condition) override {
    simulated.advanceAndRun(0);
    return condition();
  }
  void advance(std::uint64_t ns) override {
    // Only the test itself runs anything, so a busy queue needs no more than to be left alone.
    if (busyQueues > 0) return simulated.advance(ns);
    simulated.advanceAndRun(ns);
    simulated.runUntilIdle();
  }
  std::unique_ptr<BusyQueue> occupy(std::shared_ptr<DispatchQueue> /*queue*/,
                                    const std::string& /*label*/) override {
    return std::make_unique<Busy>(busyQueues);
  }

 private:
  class Busy final : public BusyQueue {
   public:
    explicit Busy(int& total) : count(total) { ++count; }
    ~Busy() override { --count; }

   private:
    int& count;
  };

  fakes::SimulatedDispatch simulated;
  int busyQueues = 0;
};

WorldKind<DispatchWorld> simulation(std::uint64_t seed, bool randomLeeway) {
  return {(randomLeeway ? "LateSeed" : "Seed") + std::to_string(seed), [=] {
            return std::make_unique<FakeDispatchWorld>(seed, randomLeeway);
          }};
}

const auto simulations =
    testing::Values(simulation(1, false), simulation(2, false), simulation(3, true));

}  // namespace

INSTANTIATE_TEST_SUITE_P(Simulated, DispatchContract, simulations, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Simulated, DispatchTimerContract, simulations, nameOfWorld);
// The simulation plays all queues on one thread.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DispatchThreadsContract);

}  // namespace quorvin::contract
