#include "platform/linux/dispatch/Dispatch.h"

#include <system_error>
#include <thread>
#include <utility>

#include "platform/Fatal.h"
#include "platform/linux/dispatch/DispatchQueues.h"
#include "platform/linux/dispatch/TaskQueue.h"
#include "platform/linux/system/PosixError.h"

namespace quorvin {

LinuxDispatch::LinuxDispatch()
    : mainTasks(std::make_shared<TaskQueue>(MainQueueSource::wakeContext())),
      mainSource(std::make_unique<MainQueueSource>(*mainTasks)),
      main(std::make_shared<LinuxDispatchQueue>(mainTasks, std::this_thread::get_id())),
      pool(std::make_shared<DispatchPool>()) {}

LinuxDispatch::~LinuxDispatch() {
  finish();
  mainSource.reset();
  mainTasks->discard();
}

std::shared_ptr<DispatchQueue> LinuxDispatch::mainQueue() {
  return main;
}

std::shared_ptr<DispatchQueue> LinuxDispatch::globalQueue(QualityOfService /*qos*/) {
  return pool;
}

std::shared_ptr<DispatchQueue> LinuxDispatch::makeSerialQueue(const std::string& label,
                                                              QualityOfService qos) {
  joinEndedThreads();
  try {
    auto thread = std::make_unique<SerialQueueThread>(label, qos);
    auto queue = thread->makeQueue();
    const MutexLock lock(mutex);
    threads.push_back(std::move(thread));
    return queue;
  } catch (const std::system_error& error) {
    throw posixError("A thread", "made", error.code());
  }
}

std::unique_ptr<DispatchTimer> LinuxDispatch::makeTimer(std::shared_ptr<DispatchQueue> queue) {
  auto runner = std::dynamic_pointer_cast<LinuxDispatchQueue>(std::move(queue));
  if (runner == nullptr) fatalError("A timer needs the main queue or a serial queue");
  return std::make_unique<LinuxDispatchTimer>(std::move(runner));
}

std::uint64_t LinuxDispatch::uptimeNanoseconds() {
  return monotonicNanoseconds();
}

// A program that makes a queue for every session would otherwise collect their threads.
void LinuxDispatch::joinEndedThreads() {
  std::vector<std::unique_ptr<SerialQueueThread>> ended;
  const MutexLock lock(mutex);
  std::erase_if(threads, [&ended](auto& thread) {
    if (!thread->hasEnded()) return false;
    ended.push_back(std::move(thread));
    return true;
  });
}

void LinuxDispatch::finish() {
  pool->finish();
  while (true) {
    std::vector<std::unique_ptr<SerialQueueThread>> ending;
    {
      const MutexLock lock(mutex);
      threads.swap(ending);
    }
    if (ending.empty()) return;
    // All are closed before the first is waited for: none takes what another still has to say.
    for (const auto& thread : ending) thread->close();
  }
}

}  // namespace quorvin
