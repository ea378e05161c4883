#pragma once

#include <mutex>
#include <string>
#include <unordered_set>

#include "tests/macos/standin/CallLog.h"

namespace standin {

// The objects of one Core Foundation type that exist now, by address. A handle that is used after
// its last release can so be told without being touched. Any thread.
class LiveHandles {
 public:
  explicit LiveHandles(const char* typeName) : typeName(typeName) {}

  void add(const void* handle) {
    const std::lock_guard lock(mutex);
    handles.insert(handle);
  }
  void remove(const void* handle) {
    const std::lock_guard lock(mutex);
    handles.erase(handle);
  }

  // Records a violation if there is no such object (any more).
  [[nodiscard]] bool check(const void* handle, const char* operation) {
    const std::lock_guard lock(mutex);
    if (handles.contains(handle)) return true;
    violation(std::string(operation) + " on what is no " + typeName + ", or was released");
    return false;
  }

 private:
  const char* typeName;
  std::mutex mutex;
  std::unordered_set<const void*> handles;
};

}  // namespace standin
