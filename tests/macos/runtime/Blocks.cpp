#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/References.h"

// Blocks begin on the stack and move to the heap when they are copied; `__block` variables move
// with the first block that does. Layout and flags: clang's "Block Implementation Specification".

namespace objc {
namespace {

enum BlockFlag : std::int32_t {
  countMask = 0xfffe,  // in steps of two
  onHeap = 1 << 24,
  hasCopyDispose = 1 << 25,
  isGlobal = 1 << 28,
};

// What a captured variable is, as compiled code says when it copies or disposes of it.
enum CapturedKind : int {
  capturedObject = 3,
  capturedBlock = 7,
  capturedVariable = 8,  // a __block variable
  kindMask = 15,
  fromVariable = 128,  // inside a __block variable, which retains nothing itself
};

struct BlockDescriptor {
  std::uintptr_t reserved;
  std::uintptr_t size;
  void (*copy)(void* destination, const void* source);
  void (*dispose)(const void* block);
};

struct Block {
  Class* isa;
  std::atomic<std::int32_t> flags;
  std::int32_t reserved;
  void (*invoke)(void*);
  const BlockDescriptor* descriptor;
};

// The storage of a __block variable.
struct Variable {
  void* isa;
  Variable* forwarding;  // where it lives now
  std::atomic<std::int32_t> flags;
  std::uint32_t size;
  void (*keep)(Variable* destination, Variable* source);
  void (*destroy)(Variable* variable);
};

Class* heapBlockClass() {
  static Class* const found = findClass("__NSMallocBlock");
  return found;
}

template <typename T>
T* duplicate(const T* source, std::size_t size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  std::memcpy(memory, static_cast<const void*>(source), size);
  return static_cast<T*>(memory);
}

// True when the last reference has gone.
template <typename T>
bool dropReference(T& counted) {
  const auto before = counted.flags.fetch_sub(2, std::memory_order_acq_rel);
  if ((before & countMask) == 0) fatal("released more often than copied", "block");
  return (before & countMask) == 2;
}

Block* copyToHeap(const Block* source) {
  auto* block = duplicate(source, source->descriptor->size);
  block->flags = (block->flags & ~countMask) | onHeap | 2;
  block->isa = heapBlockClass();
  countInstance(block->isa, 1);
  if ((block->flags & hasCopyDispose) != 0) block->descriptor->copy(block, source);
  return block;
}

Variable* keepVariable(Variable* source) {
  auto* current = source->forwarding;
  if ((current->flags & onHeap) != 0) {
    current->flags.fetch_add(2, std::memory_order_relaxed);
    return current;
  }
  auto* moved = duplicate(source, source->size);
  // One reference for the block that is being copied, one for the scope on the stack.
  moved->flags = (source->flags & ~countMask) | onHeap | 4;
  moved->forwarding = moved;
  source->forwarding = moved;
  if ((source->flags & hasCopyDispose) != 0) source->keep(moved, source);
  return moved;
}

void releaseVariable(Variable* variable) {
  auto* current = variable->forwarding;
  if ((current->flags & onHeap) == 0 || !dropReference(*current)) return;
  if ((current->flags & hasCopyDispose) != 0) current->destroy(current);
  std::free(current);
}

}  // namespace
}  // namespace objc

extern "C" {

void* _Block_copy(const void* address) {
  auto* block = static_cast<objc::Block*>(const_cast<void*>(address));
  if (block == nullptr || (block->flags & objc::isGlobal) != 0) return block;
  if ((block->flags & objc::onHeap) == 0) return objc::copyToHeap(block);
  block->flags.fetch_add(2, std::memory_order_relaxed);
  return block;
}

void _Block_release(const void* address) {
  auto* block = static_cast<objc::Block*>(const_cast<void*>(address));
  if (block == nullptr || (block->flags & objc::onHeap) == 0) return;
  if (!objc::dropReference(*block)) return;
  if ((block->flags & objc::hasCopyDispose) != 0) block->descriptor->dispose(block);
  objc::countInstance(block->isa, -1);
  std::free(block);
}

void* objc_retainBlock(const void* block) {
  return _Block_copy(block);
}

void _Block_object_assign(void* destination, const void* source, int kind) {
  auto** slot = static_cast<void**>(destination);
  auto* captured = const_cast<void*>(source);
  if ((kind & objc::fromVariable) != 0) {
    *slot = captured;
    return;
  }
  switch (kind & objc::kindMask) {
    case objc::capturedObject:
      *slot = objc_retain(static_cast<objc::Object*>(captured));
      return;
    case objc::capturedBlock:
      *slot = _Block_copy(captured);
      return;
    case objc::capturedVariable:
      *slot = objc::keepVariable(static_cast<objc::Variable*>(captured));
      return;
    default:
      objc::fatal("unknown kind of captured variable", "block");
  }
}

void _Block_object_dispose(const void* address, int kind) {
  auto* captured = const_cast<void*>(address);
  if ((kind & objc::fromVariable) != 0) return;
  switch (kind & objc::kindMask) {
    case objc::capturedObject:
      objc_release(static_cast<objc::Object*>(captured));
      return;
    case objc::capturedBlock:
      _Block_release(captured);
      return;
    case objc::capturedVariable:
      objc::releaseVariable(static_cast<objc::Variable*>(captured));
      return;
    default:
      objc::fatal("unknown kind of captured variable", "block");
  }
}

}  // extern "C"
