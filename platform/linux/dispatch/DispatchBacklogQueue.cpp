#include "platform/linux/dispatch/DispatchBacklogQueue.h"

#include <utility>

namespace quorvin {

DispatchBacklogQueue::DispatchBacklogQueue(std::shared_ptr<DispatchBacklog> backlog,
                                           std::thread::id runner)
    : work(std::move(backlog)), runner(runner) {}

void DispatchBacklogQueue::async(Task task) {
  work->push(std::move(task));
}

bool DispatchBacklogQueue::isCurrent() const {
  return std::this_thread::get_id() == runner;
}

DispatchBacklogTimer::DispatchBacklogTimer(std::shared_ptr<DispatchBacklogQueue> queue)
    : queue(std::move(queue)), timer(DispatchBacklog::makeTimer()) {}

DispatchBacklogTimer::~DispatchBacklogTimer() {
  queue->backlog()->cancel(timer);
}

void DispatchBacklogTimer::schedule(std::uint64_t deadlineNs, std::uint64_t repeatingNs,
                                    std::uint64_t /*leewayNs*/) {
  queue->backlog()->schedule(*timer, deadlineNs, repeatingNs);
}

void DispatchBacklogTimer::setEventHandler(Task handler) {
  queue->backlog()->setHandler(*timer, std::move(handler));
}

void DispatchBacklogTimer::resume() {
  queue->backlog()->resume(timer);
}

void DispatchBacklogTimer::cancel() {
  queue->backlog()->cancel(timer);
}

}  // namespace quorvin
