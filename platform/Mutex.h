#pragma once

#include <mutex>

// Clang checks while it compiles that a guarded field is used only while its mutex is held
// (https://clang.llvm.org/docs/ThreadSafetyAnalysis.html); for other compilers these say nothing.
#if defined(__clang__)
#define QUORVIN_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define QUORVIN_THREAD_SAFETY(attribute)
#endif

// Of a field: it is used only by whoever holds the mutex.
#define QUORVIN_GUARDED_BY(mutex) QUORVIN_THREAD_SAFETY(guarded_by(mutex))
// Of a function: it is called only by whoever holds the mutex.
#define QUORVIN_REQUIRES(mutex) QUORVIN_THREAD_SAFETY(requires_capability(mutex))

namespace quorvin {

// A std::mutex that the compiler knows to be one.
class QUORVIN_THREAD_SAFETY(capability("mutex")) Mutex {
 public:
  void lock() QUORVIN_THREAD_SAFETY(acquire_capability()) { native.lock(); }
  void unlock() QUORVIN_THREAD_SAFETY(release_capability()) { native.unlock(); }

 private:
  friend class MutexLock;

  std::mutex native;
};

// Holds a mutex for as long as it lives.
class QUORVIN_THREAD_SAFETY(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) QUORVIN_THREAD_SAFETY(acquire_capability(mutex))
      : held(mutex.native) {}
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;
  ~MutexLock() QUORVIN_THREAD_SAFETY(release_capability()) {}

  // For the waits of a std::condition_variable, whose condition says QUORVIN_REQUIRES.
  [[nodiscard]] std::unique_lock<std::mutex>& forWaiting() { return held; }

 private:
  std::unique_lock<std::mutex> held;
};

}  // namespace quorvin
