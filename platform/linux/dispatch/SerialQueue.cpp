#include "platform/linux/dispatch/SerialQueue.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <utility>

namespace quorvin {
namespace {

// The kernel keeps fifteen bytes of a name, too few for a whole label.
std::string threadName(const std::string& label) {
  constexpr std::size_t longest = 15;
  return label.substr(label.rfind('.') + 1, longest);
}

// On Linux a nice value belongs to a thread, and PRIO_PROCESS takes the thread's id. Most users may
// not lower theirs; the queue then works at the ordinary priority.
void preferThisThread() {
  constexpr int niceValue = -5;
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceValue);
}

}  // namespace

SerialQueue::~SerialQueue() {
  backlog()->close();
}

SerialQueueThread::SerialQueueThread(const std::string& label, QualityOfService qos)
    : thread([this, name = threadName(label), qos] { run(name, qos); }) {}

SerialQueueThread::~SerialQueueThread() {
  close();
  thread.join();
}

std::shared_ptr<DispatchQueue> SerialQueueThread::makeQueue() {
  return std::make_shared<SerialQueue>(backlog, thread.get_id());
}

void SerialQueueThread::run(const std::string& name, QualityOfService qos) {
  pthread_setname_np(pthread_self(), name.c_str());
  if (qos == QualityOfService::userInteractive) preferThisThread();
  while (backlog->waitForWork()) backlog->runTurn();
  ended = true;
}

}  // namespace quorvin
