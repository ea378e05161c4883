#include <array>
#include <utility>

#import "tests/macos/frameworks/dispatch/DispatchObjects.h"
#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Objects.h"
#include "tests/macos/standin/Threads.h"

extern "C" {
void* _Block_copy(const void* block);
void _Block_release(const void* block);
}

@interface StandInDispatchQueueAttributes : NSObject <OS_dispatch_queue_attr> {
 @public
  dispatch_qos_class_t qos;
}
@end

@implementation StandInDispatchQueueAttributes
@end

@implementation StandInDispatchQueue

- (void)dealloc {
  tasks->setOwned(false);
  [super dealloc];
}

@end

namespace standin {
namespace {

constexpr std::array allClasses{
    std::pair{QOS_CLASS_USER_INTERACTIVE, "QOS_CLASS_USER_INTERACTIVE"},
    std::pair{QOS_CLASS_USER_INITIATED, "QOS_CLASS_USER_INITIATED"},
    std::pair{QOS_CLASS_UNSPECIFIED, "QOS_CLASS_UNSPECIFIED"},
};
constexpr std::array globalLabels{
    "com.apple.root.user-interactive-qos",
    "com.apple.root.user-initiated-qos",
    "com.apple.root.default-qos",
};

std::size_t indexOf(dispatch_qos_class_t qos) {
  for (std::size_t index = 0; index < allClasses.size(); ++index) {
    if (allClasses.at(index).first == qos) return index;
  }
  violation("an unknown quality of service was asked for: " + std::to_string(qos));
  return allClasses.size() - 1;
}

std::string nameOf(dispatch_qos_class_t qos) { return allClasses.at(indexOf(qos)).second; }

// Objects that live as long as the process.
template <typename T>
T* immortal(T* object) {
  makeImmortal(object);
  return object;
}

StandInDispatchQueue* makeShared(std::shared_ptr<TaskQueue> tasks) {
  auto* queue = immortal([[StandInDispatchQueue alloc] init]);
  queue->tasks = std::move(tasks);
  return queue;
}

using GlobalQueues = std::array<StandInDispatchQueue*, allClasses.size()>;

GlobalQueues makeGlobalQueues() {
  GlobalQueues queues{};
  for (std::size_t index = 0; index < queues.size(); ++index) {
    queues.at(index) = makeShared(makeQueue(globalLabels.at(index), QueueKind::concurrent));
  }
  return queues;
}

using Attributes = std::array<StandInDispatchQueueAttributes*, allClasses.size()>;

Attributes makeAttributes() {
  Attributes attributes{};
  for (std::size_t index = 0; index < attributes.size(); ++index) {
    attributes.at(index) = immortal([[StandInDispatchQueueAttributes alloc] init]);
    attributes.at(index)->qos = allClasses.at(index).first;
  }
  return attributes;
}

}  // namespace

Work workOf(dispatch_block_t block) {
  const std::shared_ptr<void> kept(_Block_copy(block), _Block_release);
  return [kept] { reinterpret_cast<dispatch_block_t>(kept.get())(); };
}

}  // namespace standin

dispatch_queue_main_t dispatch_get_main_queue() {
  static StandInDispatchQueue* const queue = standin::makeShared(standin::mainQueue());
  return queue;
}

dispatch_queue_global_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags) {
  static const auto queues = standin::makeGlobalQueues();
  if (flags != 0) standin::violation("dispatch_get_global_queue takes no flags");
  const auto qos = static_cast<dispatch_qos_class_t>(identifier);
  standin::record("dispatch_get_global_queue", {standin::nameOf(qos)});
  return queues.at(standin::indexOf(qos));
}

dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(dispatch_queue_attr_t attr,
                                                              dispatch_qos_class_t qosClass,
                                                              int relativePriority) {
  static const auto attributes = standin::makeAttributes();
  if (attr != DISPATCH_QUEUE_SERIAL || relativePriority != 0) {
    standin::violation("only plain serial queues are known");
  }
  return attributes.at(standin::indexOf(qosClass));
}

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr) {
  const auto qos =
      attr == nil ? QOS_CLASS_UNSPECIFIED : static_cast<StandInDispatchQueueAttributes*>(attr)->qos;
  const std::string name = label == nullptr ? "" : label;
  standin::record("dispatch_queue_create", {name, standin::nameOf(qos)});
  StandInDispatchQueue* queue = [[StandInDispatchQueue alloc] init];
  queue->tasks = standin::makeQueue(name, standin::QueueKind::serial);
  queue->tasks->setOwned(true);
  return queue;
}

const char* dispatch_queue_get_label(dispatch_queue_t queue) {
  if (queue != nil) return standin::tasksOf(queue).label.c_str();
  const auto* current = standin::currentQueue();
  return current == nullptr ? "" : current->label.c_str();
}

void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* context,
                                 dispatch_function_t destructor) {
  if (destructor != nullptr) standin::violation("specific values have no destructor here");
  standin::tasksOf(queue).setSpecific(key, context);
}

void* dispatch_get_specific(const void* key) {
  auto* current = standin::currentQueue();
  return current == nullptr ? nullptr : current->specific(key);
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
  standin::tasksOf(queue).async(standin::workOf(block));
}
