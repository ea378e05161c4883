#include <future>
#include <memory>
#include <string>

#include "platform/macos/Dispatch.h"
#include "tests/contract/DispatchContract.h"
#include "tests/macos/contract/mac/RunLoop.h"

namespace quorvin::contract {
namespace {

// Keeps the queue in a task of its own.
class OccupiedQueue final : public BusyQueue {
 public:
  explicit OccupiedQueue(DispatchQueue& queue) {
    const auto begun = std::make_shared<std::promise<void>>();
    queue.async([begun, wait = ended.get_future().share()] {
      begun->set_value();
      wait.wait();
    });
    begun->get_future().wait();
  }
  ~OccupiedQueue() override { ended.set_value(); }

 private:
  std::promise<void> ended;
};

class MacDispatchWorld final : public DispatchWorld {
 public:
  Dispatch& dispatch() override { return macDispatch; }
  bool runUntil(const Condition& condition) override { return runLoopUntil(condition); }
  void advance(std::uint64_t ns) override {
    const auto endNs = macDispatch.uptimeNanoseconds() + ns;
    (void)runLoopUntil([&] { return macDispatch.uptimeNanoseconds() >= endNs; });
  }
  std::unique_ptr<BusyQueue> occupy(std::shared_ptr<DispatchQueue> queue,
                                    const std::string& /*label*/) override {
    return std::make_unique<OccupiedQueue>(*queue);
  }

 private:
  MacDispatch macDispatch;
};

const auto grandCentral = testing::Values(WorldKind<DispatchWorld>{
    "GrandCentralDispatch", [] { return std::make_unique<MacDispatchWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, DispatchContract, grandCentral, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, DispatchTimerContract, grandCentral, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, DispatchThreadsContract, grandCentral, nameOfWorld);

}  // namespace quorvin::contract
