#include "tests/macos/runtime/References.h"

#include <cstdlib>
#include <new>

#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/MessageSend.h"

namespace objc {
namespace {

std::atomic<std::ptrdiff_t> liveCount = 0;

using VariablesFunction = void (*)(Object*, Selector);

// The superclass's variables first, as constructors run.
void constructVariables(Object* object, const Class* aClass) {
  if (aClass == nullptr) return;
  constructVariables(object, aClass->superclass);
  if (const auto construct = aClass->loaded->constructVariables) {
    reinterpret_cast<VariablesFunction>(construct)(object, nullptr);
  }
}

void destructVariables(Object* object) {
  for (const auto* aClass = object->isa; aClass != nullptr; aClass = aClass->superclass) {
    if (const auto destruct = aClass->loaded->destructVariables) {
      reinterpret_cast<VariablesFunction>(destruct)(object, nullptr);
    }
  }
}

void deallocate(Object* object, Header& header) {
  static const auto dealloc = registerSelector("dealloc");
  header.references.store(Header::deallocating, std::memory_order_relaxed);
  clearWeakReferences(object);
  send<void>(object, dealloc);
}

}  // namespace

Header& headerOf(Object* object, const char* operation) {
  auto& header = *(reinterpret_cast<Header*>(object) - 1);
  if (header.state != Header::alive) fatal("dead object", operation);
  return header;
}

std::size_t liveObjectCount() {
  return static_cast<std::size_t>(liveCount.load());
}

void countInstance(Class* aClass, std::ptrdiff_t change) {
  // Relaxed: a count must not order what the code under test leaves unordered.
  aClass->loaded->instances.fetch_add(change, std::memory_order_relaxed);
  liveCount.fetch_add(change, std::memory_order_relaxed);
}

void setImmortal(Object* object) {
  if (countingOf(object) != Counting::counted) return;
  auto& references = headerOf(object, "makeImmortal").references;
  if (references.exchange(Header::immortal) < Header::immortal / 2) countInstance(object->isa, -1);
}

bool tryRetain(Object* object) {
  auto& references = headerOf(object, "weak load").references;
  auto seen = references.load(std::memory_order_relaxed);
  while (seen > 0) {
    if (references.compare_exchange_weak(seen, seen + 1, std::memory_order_relaxed)) return true;
  }
  return false;
}

bool isDeallocating(Object* object) {
  return headerOf(object, "weak store").references.load(std::memory_order_relaxed) <= 0;
}

}  // namespace objc

extern "C" {

objc::Object* class_createInstance(objc::Class* aClass, std::size_t extraBytes) {
  const auto size = sizeof(objc::Header) + aClass->description->instanceSize + extraBytes;
  auto* memory = std::calloc(1, size);
  if (memory == nullptr) throw std::bad_alloc();
  auto* header = new (memory) objc::Header{1, objc::Header::alive};
  auto* object = reinterpret_cast<objc::Object*>(header + 1);
  object->isa = aClass;
  objc::countInstance(aClass, 1);
  objc::constructVariables(object, aClass);
  return object;
}

void object_dispose(objc::Object* object) {
  auto& header = objc::headerOf(object, "dealloc");
  if (header.references.load(std::memory_order_relaxed) > 0) {
    objc::fatal("dealloc of an object that is still referenced", objc::nameOf(object->isa));
  }
  objc::destructVariables(object);
  objc::countInstance(object->isa, -1);
  header.state = 0;
  std::free(&header);
}

objc::Object* objc_retain(objc::Object* object) {
  if (object == nullptr) return nullptr;
  switch (objc::countingOf(object)) {
    case objc::Counting::counted:
      objc::headerOf(object, "retain").references.fetch_add(1, std::memory_order_relaxed);
      return object;
    case objc::Counting::block:
      return static_cast<objc::Object*>(_Block_copy(object));
    case objc::Counting::uncounted:
      break;
  }
  return object;
}

void objc_release(objc::Object* object) {
  if (object == nullptr) return;
  switch (objc::countingOf(object)) {
    case objc::Counting::counted: {
      auto& header = objc::headerOf(object, "release");
      const auto left = header.references.fetch_sub(1, std::memory_order_acq_rel) - 1;
      if (left < objc::Header::deallocating) {
        objc::fatal("released more often than retained", objc::nameOf(object->isa));
      }
      if (left == 0) objc::deallocate(object, header);
      return;
    }
    case objc::Counting::block:
      _Block_release(object);
      return;
    case objc::Counting::uncounted:
      return;
  }
}

objc::Object* objc_alloc(objc::Class* aClass) {
  static const auto alloc = objc::registerSelector("alloc");
  return objc::send(reinterpret_cast<objc::Object*>(aClass), alloc);
}

objc::Object* objc_alloc_init(objc::Class* aClass) {
  static const auto init = objc::registerSelector("init");
  return objc::send(objc_alloc(aClass), init);
}

objc::Object* objc_opt_new(objc::Class* aClass) {
  static const auto selector = objc::registerSelector("new");
  return objc::send(reinterpret_cast<objc::Object*>(aClass), selector);
}

void objc_storeStrong(objc::Object** location, objc::Object* value) {
  auto* old = *location;
  if (old == value) return;
  objc_retain(value);
  *location = value;
  objc_release(old);
}

}  // extern "C"
