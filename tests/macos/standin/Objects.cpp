#include "tests/macos/standin/Objects.h"

#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/References.h"

namespace standin {

std::size_t liveObjects() {
  return objc::liveObjectCount();
}

std::vector<std::string> liveObjectSummary() {
  std::vector<std::string> summary;
  for (const auto* aClass : objc::allClasses()) {
    const auto count = aClass->loaded->instances.load(std::memory_order_relaxed);
    if (count > 0)
      summary.push_back(std::string(objc::nameOf(aClass)) + " x " + std::to_string(count));
  }
  return summary;
}

void makeImmortal(const void* object) {
  objc::setImmortal(static_cast<objc::Object*>(const_cast<void*>(object)));
}

}  // namespace standin
