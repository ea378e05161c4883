#include <mutex>
#include <unordered_map>

#include "tests/macos/runtime/Abi.h"

// @synchronized: a recursive lock for every object that it was used with. Locks stay for the life
// of the process, since a test process uses few.

namespace {

std::recursive_mutex& lockOf(const objc::Object* object) {
  static auto& mutex = *new std::mutex;
  static auto& locks = *new std::unordered_map<const objc::Object*, std::recursive_mutex>;
  const std::lock_guard guard(mutex);
  return locks[object];
}

}  // namespace

extern "C" {

int objc_sync_enter(const objc::Object* object) {
  if (object != nullptr) lockOf(object).lock();
  return 0;
}

int objc_sync_exit(const objc::Object* object) {
  if (object != nullptr) lockOf(object).unlock();
  return 0;
}

}  // extern "C"
