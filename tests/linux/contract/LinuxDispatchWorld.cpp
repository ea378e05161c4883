#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "platform/linux/dispatch/Dispatch.h"
#include "tests/contract/DispatchContract.h"
#include "tests/linux/system/MainLoop.h"

namespace quorvin::contract {
namespace {

// Keeps the queue's thread in a task of its own.
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

class LinuxDispatchWorld final : public DispatchWorld {
 public:
  Dispatch& dispatch() override { return linuxDispatch; }
  bool runUntil(const Condition& condition) override { return runMainLoopUntil(condition); }
  void advance(std::uint64_t ns) override {
    const auto endNs = linuxDispatch.uptimeNanoseconds() + ns;
    (void)runMainLoopUntil([&] { return linuxDispatch.uptimeNanoseconds() >= endNs; });
  }
  std::unique_ptr<BusyQueue> occupy(std::shared_ptr<DispatchQueue> queue,
                                    const std::string& /*label*/) override {
    return std::make_unique<OccupiedQueue>(*queue);
  }

 private:
  LinuxDispatch linuxDispatch;
};

const auto threadsAndGlib =
    testing::Values(WorldKind<DispatchWorld>{"Glib", [] {
                                               return std::make_unique<LinuxDispatchWorld>();
                                             }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, DispatchContract, threadsAndGlib, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, DispatchTimerContract, threadsAndGlib, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, DispatchThreadsContract, threadsAndGlib, nameOfWorld);

}  // namespace quorvin::contract
