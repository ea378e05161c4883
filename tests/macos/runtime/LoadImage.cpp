#include <algorithm>
#include <cstring>
#include <span>
#include <unordered_set>

#include "tests/macos/runtime/Classes.h"

// Finds the compiler's metadata and builds every class's tables, before main().

// The linker names the two ends of every section whose name is an identifier.
#define IMAGE_SECTION(type, section)                                               \
  extern "C" type __start_##section[] __attribute__((weak, visibility("hidden"))); \
  extern "C" type __stop_##section[] __attribute__((weak, visibility("hidden")))

IMAGE_SECTION(objc::Class*, objc_classlist);
IMAGE_SECTION(objc::Category*, objc_catlist);
IMAGE_SECTION(const char*, objc_selrefs);

// Addresses that every class refers to; what lies there is unused.
extern "C" {
extern char _objc_empty_cache;
extern char _objc_empty_vtable;
char _objc_empty_cache;
char _objc_empty_vtable;
}

namespace objc {
namespace {

// Compiled code compares selectors by address, so all mentions of a name are made one.
void uniqueSelectors() {
  for (auto& selector : std::span(__start_objc_selrefs, __stop_objc_selrefs)) {
    selector = registerSelector(selector);
  }
}

// A class is compiled without knowing what its superclass keeps in another source; its own
// variables move up behind those.
void slideVariables(const Class& aClass) {
  auto& description = *aClass.description;
  const auto superSize = aClass.superclass->description->instanceSize;
  if (superSize <= description.instanceStart) return;
  std::uint32_t alignment = alignof(void*);
  const auto* list = description.variables;
  const auto variables = list == nullptr ? std::span<const InstanceVariable>()
                                         : std::span(list->variables, list->count);
  for (const auto& variable : variables)
    alignment = std::max(alignment, 1U << variable.alignmentLog2);
  const auto shortfall = superSize - description.instanceStart;
  const auto shift = (shortfall + alignment - 1) / alignment * alignment;
  for (const auto& variable : variables) {
    if (variable.offset != nullptr) *variable.offset += shift;
  }
  description.instanceStart += shift;
  description.instanceSize += shift;
}

void addMethods(const Class& aClass, const MethodList* list) {
  if (list == nullptr) return;
  auto& loaded = *aClass.loaded;
  for (const auto& method : std::span(list->methods, list->count)) {
    if (std::strcmp(method.name, "load") == 0 || std::strcmp(method.name, "initialize") == 0) {
      if (aClass.isMeta()) fatal("+load and +initialize are not run", nameOf(&aClass));
    }
    if (std::strcmp(method.name, ".cxx_construct") == 0) {
      loaded.constructVariables = method.implementation;
    } else if (std::strcmp(method.name, ".cxx_destruct") == 0) {
      loaded.destructVariables = method.implementation;
    } else {
      loaded.methods[registerSelector(method.name)] = &method;
    }
  }
}

// A constant-time mark would need a bit in the ABI's structures; the few special classes are known
// by name instead, and their subclasses follow them.
Counting ownCounting(const Class& aClass) {
  const std::string name = nameOf(&aClass);
  if (aClass.isMeta() || name == "__NSCFConstantString" || name == "__NSGlobalBlock" ||
      name == "__NSStackBlock") {
    return Counting::uncounted;
  }
  return name == "__NSMallocBlock" ? Counting::block : Counting::counted;
}

void loadOwnPart(Class& aClass) {
  // Leaked on purpose: classes live as long as the process.
  aClass.loaded = new LoadedClass;
  aClass.loaded->counting = ownCounting(aClass);
  addMethods(aClass, aClass.description->methods);
}

void inheritMethods(const Class& aClass) {
  const auto& inherited = aClass.superclass->loaded->methods;
  aClass.loaded->methods.insert(inherited.begin(), inherited.end());
}

// Superclasses first, whatever the order in the image.
class Inheritance {
 public:
  void complete(Class* aClass) {
    if (aClass == nullptr || !done.insert(aClass).second) return;
    complete(aClass->superclass);
    if (aClass->superclass == nullptr) return;
    slideVariables(*aClass);
    inheritMethods(*aClass);
  }

 private:
  std::unordered_set<Class*> done;
};

void attach(const Category& category) {
  addMethods(*category.extended, category.instanceMethods);
  addMethods(*category.extended->isa, category.classMethods);
}

// Before the constructors of ordinary objects, which may send messages already.
[[gnu::constructor(101)]] void loadImage() {
  uniqueSelectors();
  const std::span classList(__start_objc_classlist, __stop_objc_classlist);
  for (auto* aClass : classList) {
    loadOwnPart(*aClass);
    loadOwnPart(*aClass->isa);
    addClass(aClass);
  }
  for (const auto* category : std::span(__start_objc_catlist, __stop_objc_catlist)) {
    attach(*category);
  }
  Inheritance inheritance;
  for (auto* aClass : classList) {
    inheritance.complete(aClass);
    inheritance.complete(aClass->isa);
  }
}

}  // namespace
}  // namespace objc
