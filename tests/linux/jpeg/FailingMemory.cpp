#include "tests/linux/jpeg/FailingMemory.h"

#include <atomic>
#include <cstdlib>
#include <limits>

namespace quorvin::FailingMemory {

namespace {

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> successesLeft = unlimited;
std::atomic<bool> hasFailed = false;

bool fails() {
  if (successesLeft == unlimited) return false;
  if (successesLeft > 0) {
    --successesLeft;
    return false;
  }
  hasFailed = true;
  return true;
}

}  // namespace

void failAfter(std::size_t successes) {
  successesLeft = successes;
  hasFailed = false;
}

bool recover() {
  successesLeft = unlimited;
  return hasFailed;
}

// The linker lets everybody's calls of realloc go to __wrap_realloc (--wrap).
void* originalRealloc(void* memory, std::size_t sizeBytes) __asm__("__real_realloc");
void* wrappedRealloc(void* memory, std::size_t sizeBytes) __asm__("__wrap_realloc");

void* wrappedRealloc(void* memory, std::size_t sizeBytes) {
  return fails() ? nullptr : originalRealloc(memory, sizeBytes);
}

}  // namespace quorvin::FailingMemory
