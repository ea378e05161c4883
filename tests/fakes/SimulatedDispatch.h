#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "platform/Dispatch.h"
#include "platform/Error.h"

namespace quorvin::fakes {

class SimulatedDispatch;

// A queue of the simulation. Serial queues offer their oldest task only; concurrent ones any.
class SimulatedQueue final : public DispatchQueue {
 public:
  SimulatedQueue(SimulatedDispatch& owner, std::string label, bool concurrent)
      : owner(owner), queueLabel(std::move(label)), concurrent(concurrent) {}

  void async(Task task) override;
  [[nodiscard]] bool isCurrent() const override;

  [[nodiscard]] const std::string& label() const { return queueLabel; }
  [[nodiscard]] std::size_t pending() const { return tasks.size(); }
  // How many waiting tasks were queued by a task of the given queue.
  [[nodiscard]] std::size_t pendingFrom(const SimulatedQueue* origin) const;

 private:
  friend class SimulatedDispatch;

  struct Entry {
    Task task;
    const SimulatedQueue* origin;
  };

  SimulatedDispatch& owner;
  std::string queueLabel;
  bool concurrent;
  std::deque<Entry> tasks;
};

// All queues, timers and the clock of a machine on one thread. Nothing runs by itself: each step
// runs one task of one queue, chosen by the seed, and time moves only when told. The same seed and
// the same calls replay the same run.
class SimulatedDispatch final : public Dispatch {
 public:
  explicit SimulatedDispatch(std::uint64_t seed = 1, bool randomLeeway = false);
  ~SimulatedDispatch() override;

  std::shared_ptr<DispatchQueue> mainQueue() override { return main; }
  std::shared_ptr<DispatchQueue> globalQueue(QualityOfService qos) override;
  std::shared_ptr<DispatchQueue> makeSerialQueue(const std::string& label,
                                                 QualityOfService qos) override;
  std::unique_ptr<DispatchTimer> makeTimer(std::shared_ptr<DispatchQueue> queue) override;
  std::uint64_t uptimeNanoseconds() override {
    if (whileReadingClock) whileReadingClock();
    return clockNs;
  }
  std::function<void()> whileReadingClock;  // what another thread does meanwhile

  // Stands for the threads of the system that nobody here owns.
  [[nodiscard]] SimulatedQueue& systemThreads() { return *system; }
  [[nodiscard]] SimulatedQueue& mainThread() { return *main; }
  // What was asked for when a queue was made or fetched, newest last.
  struct Request {
    std::string label;
    QualityOfService qos;
  };
  std::vector<Request> serialQueueRequests;
  std::optional<Error> serialQueueError;  // thrown in the place of the next serial queue
  std::vector<QualityOfService> globalQueueRequests;
  // Timers that may still fire.
  [[nodiscard]] std::size_t runningTimers() const;
  // The serial queue made last that is still alive, or null.
  [[nodiscard]] std::shared_ptr<SimulatedQueue> newestSerialQueue() const;

  // Does something as the main thread, whatever is running: what happens there meanwhile.
  void onMainThread(const Task& act);
  // Runs one waiting task; false when there is none.
  bool runOne();
  // Runs the oldest waiting task of one queue, which must have one.
  void runOneOf(SimulatedQueue& queue) { runTask(queue, 0); }
  // Runs tasks until none waits. Stops the process after a million: something feeds itself.
  void runUntilIdle();
  // Moves the clock; timers that come due only queue their handlers.
  void advance(std::uint64_t ns);
  // Moves the clock, and after each timer that comes due runs everything until idle.
  void advanceAndRun(std::uint64_t ns);

  [[nodiscard]] bool idle() const;
  // A number below the given one, from the same seed as the order of the tasks.
  [[nodiscard]] std::uint64_t random(std::uint64_t below);

 private:
  friend class SimulatedQueue;
  friend class SimulatedTimer;
  struct TimerState;

  void runTask(SimulatedQueue& queue, std::size_t index);
  [[nodiscard]] TimerState* earliestTimer(std::uint64_t notAfter);
  void fire(TimerState& timer);
  bool fireNext(std::uint64_t target);
  [[nodiscard]] std::uint64_t delayFor(const TimerState& timer);

  std::mt19937_64 generator;
  bool randomLeeway;
  std::uint64_t clockNs = 1'000'000'000;
  std::shared_ptr<SimulatedQueue> main;
  std::shared_ptr<SimulatedQueue> global;
  std::shared_ptr<SimulatedQueue> system;
  // Kept alive while tasks wait, as a system keeps a queue that still has work.
  std::list<std::shared_ptr<SimulatedQueue>> serialQueues;
  std::list<std::shared_ptr<TimerState>> timers;
  const SimulatedQueue* current = nullptr;
};

}  // namespace quorvin::fakes
