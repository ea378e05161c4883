#include <memory>
#include <string>
#include <utility>

#include "platform/macos/Dispatch.h"
#include "tests/contract/DispatchContract.h"
#include "tests/macos/standin/Threads.h"

namespace quorvin::contract {
namespace {

class HeldQueue final : public BusyQueue {
 public:
  explicit HeldQueue(std::string label) : label(std::move(label)) { standin::hold(this->label); }
  ~HeldQueue() override { standin::resume(label); }

 private:
  std::string label;
};

class StandInDispatchWorld final : public DispatchWorld {
 public:
  Dispatch& dispatch() override { return macDispatch; }
  bool runUntil(const Condition& condition) override {
    standin::advance(0);
    return condition();
  }
  void advance(std::uint64_t ns) override { standin::advance(ns); }
  std::unique_ptr<BusyQueue> occupy(std::shared_ptr<DispatchQueue> /*queue*/,
                                    const std::string& label) override {
    return std::make_unique<HeldQueue>(label);
  }

 private:
  MacDispatch macDispatch;
};

const auto grandCentral = testing::Values(WorldKind<DispatchWorld>{
    "GrandCentralDispatch", [] { return std::make_unique<StandInDispatchWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, DispatchContract, grandCentral, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, DispatchTimerContract, grandCentral, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, DispatchThreadsContract, grandCentral, nameOfWorld);

}  // namespace quorvin::contract
