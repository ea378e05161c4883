#include "tests/macos/runtime/Classes.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <unordered_set>

namespace objc {
namespace {

// Kept in functions, since other objects' constructors may come first, and never destroyed, since
// threads and static objects may still use them while the process ends.
std::unordered_map<std::string, Class*>& classesByName() {
  static auto& classes = *new std::unordered_map<std::string, Class*>;
  return classes;
}

std::vector<Class*>& classes() {
  static auto& list = *new std::vector<Class*>;
  return list;
}

}  // namespace

Selector registerSelector(const char* name) {
  static auto& mutex = *new std::mutex;
  static auto& names = *new std::unordered_set<std::string>;
  const std::lock_guard guard(mutex);
  return names.insert(name).first->c_str();
}

const Method* findMethod(const Class* aClass, Selector selector) {
  const auto& methods = aClass->loaded->methods;
  const auto found = methods.find(selector);
  return found == methods.end() ? nullptr : found->second;
}

Class* findClass(const std::string& name) {
  const auto found = classesByName().find(name);
  return found == classesByName().end() ? nullptr : found->second;
}

const std::vector<Class*>& allClasses() {
  return classes();
}

bool inherits(const Class* aClass, const Class* ancestor) {
  while (aClass != nullptr && aClass != ancestor) aClass = aClass->superclass;
  return aClass != nullptr;
}

void fatal(const char* text, const char* name) {
  std::fprintf(stderr, "Objective-C runtime: %s: %s\n", text, name);
  std::abort();
}

void addClass(Class* aClass) {
  classes().push_back(aClass);
  classesByName()[nameOf(aClass)] = aClass;
}

}  // namespace objc
