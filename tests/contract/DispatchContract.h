#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/Dispatch.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

inline constexpr std::uint64_t ms = 1'000'000;

// While this exists its queue runs nothing.
class BusyQueue {
 public:
  BusyQueue(const BusyQueue&) = delete;
  BusyQueue& operator=(const BusyQueue&) = delete;
  virtual ~BusyQueue() = default;

 protected:
  BusyQueue() = default;
};

// Queues and a clock, real or virtual. The test's thread is the main thread.
class DispatchWorld {
 public:
  DispatchWorld() = default;
  DispatchWorld(const DispatchWorld&) = delete;
  DispatchWorld& operator=(const DispatchWorld&) = delete;
  virtual ~DispatchWorld() = default;

  virtual Dispatch& dispatch() = 0;
  // Serves the main queue until the condition holds. False when it never does: a virtual clock
  // stands still meanwhile and gives up when nothing is left to run, a real one after a while.
  virtual bool runUntil(const Condition& condition) = 0;
  // Serves the main queue for so long.
  virtual void advance(std::uint64_t ns) = 0;
  // Keeps a serial queue of this label from running anything; it has nothing to run at the moment.
  virtual std::unique_ptr<BusyQueue> occupy(std::shared_ptr<DispatchQueue> queue,
                                            const std::string& label) = 0;
};

// What holds for the simulation too.
class DispatchContract : public Contract<DispatchWorld> {
 protected:
  Dispatch& dispatch() { return world->dispatch(); }
  bool runUntil(const Condition& condition) { return world->runUntil(condition); }

  static constexpr auto label = "com.quorvin.contract.serial";
  std::shared_ptr<DispatchQueue> main = world->dispatch().mainQueue();
  std::shared_ptr<DispatchQueue> global =
      world->dispatch().globalQueue(QualityOfService::userInitiated);
  std::shared_ptr<DispatchQueue> serial =
      world->dispatch().makeSerialQueue(label, QualityOfService::userInteractive);
};

class DispatchTimerContract : public DispatchContract {};

// What needs more than one thread.
class DispatchThreadsContract : public DispatchContract {};

}  // namespace quorvin::contract
