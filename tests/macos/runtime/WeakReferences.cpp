#include <array>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/References.h"

// Weak references: variables that become nil as soon as their object is being deallocated.
//
// Every variable that refers to an object is listed in the table of that object. Tables are divided
// by address, each part under a lock of its own, so that unrelated objects share no lock. The
// variable itself is read before the lock is known, hence atomically.

namespace objc {
namespace {

struct Part {
  std::mutex mutex;
  std::unordered_map<Object*, std::unordered_set<Object**>> variables;
};

Part& partOf(Object* object) {
  static auto& parts = *new std::array<Part, 61>;
  return parts.at(std::hash<Object*>()(object) / alignof(std::max_align_t) % parts.size());
}

Object* read(Object** variable) {
  return __atomic_load_n(variable, __ATOMIC_RELAXED);
}

void write(Object** variable, Object* object) {
  __atomic_store_n(variable, object, __ATOMIC_RELAXED);
}

bool isCounted(Object* object) {
  return object != nullptr && countingOf(object) == Counting::counted;
}

void detach(Object** variable) {
  auto* object = read(variable);
  // Not countingOf: the object may be dying on another thread. What is not counted has no entry.
  if (object == nullptr) return;
  auto& part = partOf(object);
  const std::lock_guard guard(part.mutex);
  const auto found = part.variables.find(object);
  if (found == part.variables.end()) return;
  found->second.erase(variable);
  if (found->second.empty()) part.variables.erase(found);
}

Object* attach(Object** variable, Object* object) {
  if (!isCounted(object)) {
    write(variable, object);
    return object;
  }
  auto& part = partOf(object);
  const std::lock_guard guard(part.mutex);
  if (isDeallocating(object)) {
    fatal("weak reference to an object that is being deallocated", nameOf(object->isa));
  }
  part.variables[object].insert(variable);
  write(variable, object);
  return object;
}

}  // namespace

void clearWeakReferences(Object* object) {
  auto& part = partOf(object);
  const std::lock_guard guard(part.mutex);
  const auto found = part.variables.find(object);
  if (found == part.variables.end()) return;
  for (auto** variable : found->second) write(variable, nullptr);
  part.variables.erase(found);
}

}  // namespace objc

extern "C" {

objc::Object* objc_initWeak(objc::Object** variable, objc::Object* object) {
  return objc::attach(variable, object);
}

objc::Object* objc_storeWeak(objc::Object** variable, objc::Object* object) {
  objc::detach(variable);
  return objc::attach(variable, object);
}

void objc_destroyWeak(objc::Object** variable) {
  objc::detach(variable);
}

objc::Object* objc_loadWeakRetained(objc::Object** variable) {
  for (;;) {
    auto* object = objc::read(variable);
    if (object == nullptr) return nullptr;
    auto& part = objc::partOf(object);
    const std::lock_guard guard(part.mutex);
    // Under the lock the object cannot go away unless the variable has become nil before.
    if (objc::read(variable) != object) continue;
    if (!objc::isCounted(object)) return objc_retain(object);
    return objc::tryRetain(object) ? object : nullptr;
  }
}

void objc_copyWeak(objc::Object** destination, objc::Object** source) {
  auto* object = objc_loadWeakRetained(source);
  objc_initWeak(destination, object);
  objc_release(object);
}

void objc_moveWeak(objc::Object** destination, objc::Object** source) {
  objc_copyWeak(destination, source);
  objc_destroyWeak(source);
}

}  // extern "C"
