#include <memory>
#include <utility>
#include <vector>

#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/References.h"

// Autorelease pools: every thread has a stack of objects to release later, and a pool is the height
// of that stack at its beginning.
//
// A function under ARC hands its result over as "autoreleased", and its caller mostly retains it at
// once. The runtime keeps such a result aside for a moment; when the caller claims it, its
// reference changes hands and never enters a pool, so that objects die as early as they do on a
// Mac.

namespace objc {
namespace {

struct ThreadPool {
  std::vector<Object*> objects;
  Object* handedOver = nullptr;
  bool isEnded = false;

  ~ThreadPool() { isEnded = true; }
};

ThreadPool& pool() {
  // A static object's destructor may autorelease after the main thread's own variables are gone.
  static thread_local ThreadPool threadPool;
  return threadPool;
}

// A result that nobody claimed is an ordinary autoreleased object.
void keepHandedOver() {
  if (auto* object = std::exchange(pool().handedOver, nullptr)) objc_autorelease(object);
}

}  // namespace
}  // namespace objc

extern "C" {

objc::Object* objc_autorelease(objc::Object* object) {
  if (object == nullptr || objc::countingOf(object) == objc::Counting::uncounted) return object;
  if (!objc::pool().isEnded) objc::pool().objects.push_back(object);
  return object;
}

void* objc_autoreleasePoolPush() {
  objc::keepHandedOver();
  // Never null, which could not be told from no pool.
  return reinterpret_cast<void*>(objc::pool().objects.size() + 1);
}

void objc_autoreleasePoolPop(void* token) {
  objc::keepHandedOver();
  const auto height = reinterpret_cast<std::size_t>(token) - 1;
  auto& objects = objc::pool().objects;
  if (height > objects.size()) objc::fatal("autorelease pools popped out of order", "pool");
  // One by one: a release may autorelease further objects.
  while (objects.size() > height) {
    auto* object = objects.back();
    objects.pop_back();
    objc_release(object);
    objc::keepHandedOver();
  }
}

objc::Object* objc_retainAutorelease(objc::Object* object) {
  return objc_autorelease(objc_retain(object));
}

objc::Object* objc_autoreleaseReturnValue(objc::Object* object) {
  objc::keepHandedOver();
  if (object != nullptr && objc::countingOf(object) != objc::Counting::uncounted) {
    objc::pool().handedOver = object;
  }
  return object;
}

objc::Object* objc_retainAutoreleaseReturnValue(objc::Object* object) {
  return objc_autoreleaseReturnValue(objc_retain(object));
}

objc::Object* objc_retainAutoreleasedReturnValue(objc::Object* object) {
  auto& handedOver = objc::pool().handedOver;
  if (object != nullptr && object == handedOver) {
    handedOver = nullptr;
    return object;
  }
  objc::keepHandedOver();
  return objc_retain(object);
}

objc::Object* objc_unsafeClaimAutoreleasedReturnValue(objc::Object* object) {
  auto& handedOver = objc::pool().handedOver;
  if (object != nullptr && object == handedOver) {
    handedOver = nullptr;
    objc_release(object);
  }
  return object;
}

}  // extern "C"
