#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "tests/macos/runtime/Abi.h"

namespace objc {

// How references to instances of a class are counted.
enum class Counting {
  counted,   // in the header before the object
  block,     // in the block's own flags
  uncounted  // classes, constant texts and blocks that capture nothing live for ever
};

// What the runtime knows of a class. Written once while the image is loaded, before main() and
// before there is a second thread; only the count of instances changes later. So a lookup takes no
// lock, and no lock of the runtime hides a race of the code under test from the thread sanitizer.
struct LoadedClass {
  // Own and inherited methods, categories included.
  std::unordered_map<Selector, const Method*> methods;
  // What builds and destroys instance variables of C++ and reference types; own ones only.
  Implementation constructVariables = nullptr;
  Implementation destructVariables = nullptr;
  Counting counting = Counting::counted;
  std::atomic<std::ptrdiff_t> instances = 0;
};

// The same address for equal names, for as long as the process lives. Any thread.
Selector registerSelector(const char* name);

[[nodiscard]] const Method* findMethod(const Class* aClass, Selector selector);
[[nodiscard]] Class* findClass(const std::string& name);
[[nodiscard]] const std::vector<Class*>& allClasses();
void addClass(Class* aClass);  // while loading

[[nodiscard]] bool inherits(const Class* aClass, const Class* ancestor);

[[nodiscard]] inline const char* nameOf(const Class* aClass) {
  return aClass->description->name;
}
[[nodiscard]] inline Counting countingOf(const Object* object) {
  return object->isa->loaded->counting;
}

// A mistake after which nothing can go on: says so on standard error and aborts.
[[noreturn]] void fatal(const char* text, const char* name);

}  // namespace objc
