#include <array>
#include <cstring>
#include <mutex>

#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/MessageSend.h"
#include "tests/macos/runtime/References.h"

// The accessors that the compiler calls for properties it synthesizes. An atomic property is read
// and written under a lock chosen by its address.

namespace objc {
namespace {

std::mutex& lockOf(const void* address) {
  static auto& locks = *new std::array<std::mutex, 61>;
  return locks.at(reinterpret_cast<std::uintptr_t>(address) / sizeof(void*) % locks.size());
}

Object** variableAt(Object* object, std::ptrdiff_t offset) {
  return reinterpret_cast<Object**>(reinterpret_cast<char*>(object) + offset);
}

Object* copyOf(Object* value) {
  static const auto copy = registerSelector("copyWithZone:");
  return send(value, copy, static_cast<void*>(nullptr));
}

// Takes over the reference to `value`.
void replaceAtomically(Object** variable, Object* value) {
  Object* old = nullptr;
  {
    const std::lock_guard guard(lockOf(variable));
    old = *variable;
    *variable = value;
  }
  objc_release(old);
}

void replace(Object** variable, Object* value) {
  auto* old = *variable;
  *variable = value;
  objc_release(old);
}

}  // namespace
}  // namespace objc

extern "C" {

void objc_setProperty_atomic(objc::Object* object, objc::Selector /*setter*/, objc::Object* value,
                             std::ptrdiff_t offset) {
  objc::replaceAtomically(objc::variableAt(object, offset), objc_retain(value));
}

void objc_setProperty_atomic_copy(objc::Object* object, objc::Selector /*setter*/,
                                  objc::Object* value, std::ptrdiff_t offset) {
  objc::replaceAtomically(objc::variableAt(object, offset), objc::copyOf(value));
}

void objc_setProperty_nonatomic(objc::Object* object, objc::Selector /*setter*/,
                                objc::Object* value, std::ptrdiff_t offset) {
  objc::replace(objc::variableAt(object, offset), objc_retain(value));
}

void objc_setProperty_nonatomic_copy(objc::Object* object, objc::Selector /*setter*/,
                                     objc::Object* value, std::ptrdiff_t offset) {
  objc::replace(objc::variableAt(object, offset), objc::copyOf(value));
}

objc::Object* objc_getProperty(objc::Object* object, objc::Selector /*getter*/,
                               std::ptrdiff_t offset, bool isAtomic) {
  auto** variable = objc::variableAt(object, offset);
  if (!isAtomic) return *variable;
  objc::Object* value = nullptr;
  {
    const std::lock_guard guard(objc::lockOf(variable));
    value = objc_retain(*variable);
  }
  return objc_autoreleaseReturnValue(value);
}

// Structures without references, either way; the property's address decides on the lock.
void objc_copyStruct(void* destination, const void* source, std::ptrdiff_t size, bool isAtomic,
                     bool /*hasStrong*/) {
  if (!isAtomic) {
    std::memmove(destination, source, static_cast<std::size_t>(size));
    return;
  }
  auto& first = objc::lockOf(destination);
  auto& second = objc::lockOf(source);
  if (&first == &second) {
    const std::lock_guard guard(first);
    std::memmove(destination, source, static_cast<std::size_t>(size));
    return;
  }
  const std::scoped_lock guard(first, second);
  std::memmove(destination, source, static_cast<std::size_t>(size));
}

}  // extern "C"
