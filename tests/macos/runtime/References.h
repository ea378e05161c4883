#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "tests/macos/runtime/Abi.h"

namespace objc {

// Lies right before every counted object.
struct Header {
  // What an object's header says for as long as it lives.
  static constexpr std::uint64_t alive = 0x6f626a6563746976;
  // Count of an object that lives as long as the process.
  static constexpr std::int64_t immortal = std::int64_t{1} << 62;
  // Where the count starts anew when it has come to zero: `dealloc` may retain and release its own
  // object in balance, without being called a second time.
  static constexpr std::int64_t deallocating = -(std::int64_t{1} << 61);

  std::atomic<std::int64_t> references;
  std::uint64_t state;
};

// Aborts, saying what was tried, when the object is dead.
Header& headerOf(Object* object, const char* operation);

// Objects alive now that are not immortal, blocks on the heap included.
[[nodiscard]] std::size_t liveObjectCount();
void countInstance(Class* aClass, std::ptrdiff_t change);
void setImmortal(Object* object);

// A new reference, unless the object is being deallocated; for weak references. Any thread.
[[nodiscard]] bool tryRetain(Object* object);
[[nodiscard]] bool isDeallocating(Object* object);

// A part of deallocation that lies elsewhere.
void clearWeakReferences(Object* object);

}  // namespace objc

extern "C" {
objc::Object* objc_retain(objc::Object* object);
void objc_release(objc::Object* object);
objc::Object* objc_autorelease(objc::Object* object);
objc::Object* objc_autoreleaseReturnValue(objc::Object* object);
objc::Object* class_createInstance(objc::Class* aClass, std::size_t extraBytes);
void object_dispose(objc::Object* object);
void* _Block_copy(const void* block);
void _Block_release(const void* block);
}
