#include "tests/fakes/SimulatedDispatch.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/Fatal.h"

namespace quorvin::fakes {

struct SimulatedDispatch::TimerState {
  std::shared_ptr<SimulatedQueue> queue;
  Task handler;
  std::uint64_t nominalNs = 0;   // the next fire without leeway
  std::uint64_t fireAtNs = 0;    // the next fire
  std::uint64_t intervalNs = 0;  // 0: fires once
  std::uint64_t leewayNs = 0;
  bool scheduled = false;
  bool running = false;
  bool cancelled = false;
  bool queued = false;  // a fire waits on the queue; further ones fold into it
};

class SimulatedTimer final : public DispatchTimer {
 public:
  SimulatedTimer(SimulatedDispatch& owner, std::shared_ptr<SimulatedDispatch::TimerState> state)
      : owner(owner), state(std::move(state)) {}
  ~SimulatedTimer() override { end(); }

  void schedule(std::uint64_t deadlineNs, std::uint64_t repeatingNs,
                std::uint64_t leewayNs) override {
    if (state->cancelled) fatalError("A cancelled timer was scheduled.");
    state->nominalNs = deadlineNs;
    state->intervalNs = repeatingNs;
    state->leewayNs = leewayNs;
    state->fireAtNs = deadlineNs + owner.delayFor(*state);
    state->scheduled = true;
  }
  void setEventHandler(Task handler) override { state->handler = std::move(handler); }
  void resume() override {
    if (state->running) fatalError("A timer was resumed twice.");
    state->running = true;
  }
  void cancel() override {
    if (!state->queue->isCurrent()) fatalError("A timer was cancelled off its queue.");
    end();
  }

 private:
  void end() {
    state->cancelled = true;
    std::erase(owner.timers, state);
    // One that is running just now is held by its own fire.
    const auto dropped = std::exchange(state->handler, nullptr);
  }

  SimulatedDispatch& owner;
  std::shared_ptr<SimulatedDispatch::TimerState> state;
};

void SimulatedQueue::async(Task task) {
  tasks.push_back({std::move(task), owner.current});
}

bool SimulatedQueue::isCurrent() const {
  // Whoever drives the simulation stands for the main thread's own events.
  return (owner.current == nullptr ? owner.main.get() : owner.current) == this;
}

void SimulatedDispatch::onMainThread(const Task& act) {
  const auto* const interrupted = std::exchange(current, main.get());
  act();
  current = interrupted;
}

std::size_t SimulatedQueue::pendingFrom(const SimulatedQueue* origin) const {
  return static_cast<std::size_t>(
      std::ranges::count_if(tasks, [&](const Entry& entry) { return entry.origin == origin; }));
}

SimulatedDispatch::SimulatedDispatch(std::uint64_t seed, bool randomLeeway)
    : generator(seed),
      randomLeeway(randomLeeway),
      main(std::make_shared<SimulatedQueue>(*this, "main", false)),
      global(std::make_shared<SimulatedQueue>(*this, "global", true)),
      system(std::make_shared<SimulatedQueue>(*this, "system", true)) {}

SimulatedDispatch::~SimulatedDispatch() {
  // Waiting tasks may hold what holds their queue, and dropping one may queue another.
  std::vector<std::shared_ptr<SimulatedQueue>> queues(serialQueues.begin(), serialQueues.end());
  queues.insert(queues.end(), {main, global, system});
  while (!idle()) {
    for (const auto& queue : queues) std::exchange(queue->tasks, {}).clear();
  }
}

std::shared_ptr<DispatchQueue> SimulatedDispatch::globalQueue(QualityOfService qos) {
  globalQueueRequests.push_back(qos);
  return global;
}

std::shared_ptr<DispatchQueue> SimulatedDispatch::makeSerialQueue(const std::string& label,
                                                                  QualityOfService qos) {
  serialQueueRequests.push_back({label, qos});
  if (serialQueueError) throw *std::exchange(serialQueueError, std::nullopt);
  serialQueues.push_back(std::make_shared<SimulatedQueue>(*this, label, false));
  return serialQueues.back();
}

std::shared_ptr<SimulatedQueue> SimulatedDispatch::newestSerialQueue() const {
  return serialQueues.empty() ? nullptr : serialQueues.back();
}

std::unique_ptr<DispatchTimer> SimulatedDispatch::makeTimer(std::shared_ptr<DispatchQueue> queue) {
  auto state = std::make_shared<TimerState>();
  state->queue = std::static_pointer_cast<SimulatedQueue>(std::move(queue));
  timers.push_back(state);
  return std::make_unique<SimulatedTimer>(*this, std::move(state));
}

std::size_t SimulatedDispatch::runningTimers() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(timers, [](const auto& timer) { return timer->running; }));
}

std::uint64_t SimulatedDispatch::random(std::uint64_t below) {
  return std::uniform_int_distribution<std::uint64_t>(0, below - 1)(generator);
}

std::uint64_t SimulatedDispatch::delayFor(const TimerState& timer) {
  if (!randomLeeway || timer.leewayNs == 0) return 0;
  return random(std::min(timer.leewayNs, timer.intervalNs / 2) + 1);
}

void SimulatedDispatch::runTask(SimulatedQueue& queue, std::size_t index) {
  const auto position = queue.tasks.begin() + static_cast<std::ptrdiff_t>(index);
  {
    auto entry = std::move(*position);
    queue.tasks.erase(position);
    current = &queue;
    entry.task();
    // The task's own captures go here, still on its queue, as they would on a real one.
  }
  current = nullptr;
}

bool SimulatedDispatch::runOne() {
  // A queue that nobody holds and that has no work left is gone, as on a real system.
  serialQueues.remove_if(
      [](const auto& queue) { return queue.use_count() == 1 && queue->pending() == 0; });

  struct Choice {
    std::shared_ptr<SimulatedQueue> queue;
    std::size_t index;
  };
  std::vector<Choice> choices;
  const auto offer = [&](const std::shared_ptr<SimulatedQueue>& queue) {
    const std::size_t offered =
        queue->concurrent ? queue->pending() : std::min<std::size_t>(queue->pending(), 1);
    for (std::size_t index = 0; index < offered; ++index) choices.push_back({queue, index});
  };
  offer(main);
  offer(global);
  offer(system);
  for (const auto& queue : serialQueues) offer(queue);
  if (choices.empty()) return false;

  const auto choice = choices[random(choices.size())];
  runTask(*choice.queue, choice.index);
  return true;
}

bool SimulatedDispatch::idle() const {
  return main->pending() == 0 && global->pending() == 0 && system->pending() == 0 &&
         std::ranges::all_of(serialQueues, [](const auto& queue) { return queue->pending() == 0; });
}

void SimulatedDispatch::runUntilIdle() {
  for (int steps = 0; runOne(); ++steps) {
    if (steps > 1'000'000) fatalError("The simulation never comes to rest.");
  }
}

SimulatedDispatch::TimerState* SimulatedDispatch::earliestTimer(std::uint64_t notAfter) {
  TimerState* earliest = nullptr;
  for (const auto& timer : timers) {
    if (!timer->scheduled || !timer->running || timer->fireAtNs > notAfter) continue;
    if (earliest == nullptr || timer->fireAtNs < earliest->fireAtNs) earliest = timer.get();
  }
  return earliest;
}

void SimulatedDispatch::fire(TimerState& timer) {
  if (timer.intervalNs == 0) {
    timer.scheduled = false;
  } else {
    timer.nominalNs += timer.intervalNs;
    timer.fireAtNs = timer.nominalNs + delayFor(timer);
  }
  if (std::exchange(timer.queued, true)) return;
  const auto found =
      std::ranges::find_if(timers, [&](const auto& entry) { return entry.get() == &timer; });
  timer.queue->async([state = *found] {
    state->queued = false;
    if (state->cancelled) return;
    const auto handler = state->handler;  // outlives a handler that destroys its timer
    handler();
  });
}

bool SimulatedDispatch::fireNext(std::uint64_t target) {
  auto* timer = earliestTimer(target);
  if (timer == nullptr) return false;
  clockNs = std::max(clockNs, timer->fireAtNs);
  fire(*timer);
  return true;
}

void SimulatedDispatch::advance(std::uint64_t ns) {
  const auto target = clockNs + ns;
  while (fireNext(target)) {
  }
  clockNs = target;
}

void SimulatedDispatch::advanceAndRun(std::uint64_t ns) {
  const auto target = clockNs + ns;
  runUntilIdle();
  while (fireNext(target)) runUntilIdle();
  clockNs = target;
}

}  // namespace quorvin::fakes
