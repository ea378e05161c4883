#pragma once

#include <cstddef>
#include <cstdint>

// A small Objective-C runtime: it executes what clang emits for Apple's 64-bit Objective-C ABI
// (-fobjc-runtime=macosx) when that is compiled into ELF objects. It is there for tests only.
//
// Limits: x86-64, one statically linked image, every class known at start. `+load` and
// `+initialize` are refused, there is no forwarding, no swizzling, no invocation, no key-value
// observing, and no class is made while running.
//
// This header lays out the compiler's metadata. Its layout is described by clang's own code
// generator (CGObjCMac.cpp) and Apple's published runtime.
namespace objc {

struct Class;

// What every object begins with.
struct Object {
  Class* isa;
};

using Selector = const char*;
using Implementation = void (*)();

struct Method {
  Selector name;
  const char* types;
  Implementation implementation;
};

struct MethodList {
  std::uint32_t entrySize;
  std::uint32_t count;
  Method methods[1];
};

struct InstanceVariable {
  std::ptrdiff_t* offset;  // what compiled code adds to the object's address
  const char* name;
  const char* type;
  std::uint32_t alignmentLog2;
  std::uint32_t size;
};

struct InstanceVariableList {
  std::uint32_t entrySize;
  std::uint32_t count;
  InstanceVariable variables[1];
};

struct ClassDescription {
  static constexpr std::uint32_t metaFlag = 1;

  std::uint32_t flags;
  std::uint32_t instanceStart;
  std::uint32_t instanceSize;
  std::uint32_t reserved;
  const std::uint8_t* strongLayout;
  const char* name;
  const MethodList* methods;
  const void* protocols;
  const InstanceVariableList* variables;
  const std::uint8_t* weakLayout;
  const void* properties;
};

struct LoadedClass;

// A class, or the class of a class.
struct Class {
  Class* isa;
  Class* superclass;
  LoadedClass* loaded;  // the first of the two words that the ABI leaves to the runtime
  void* reserved;
  ClassDescription* description;

  [[nodiscard]] bool isMeta() const {
    return (description->flags & ClassDescription::metaFlag) != 0;
  }
};

struct Category {
  const char* name;
  Class* extended;
  const MethodList* instanceMethods;
  const MethodList* classMethods;
  const void* protocols;
};

// The receiver of a message to super: the object, and the class in whose method it is sent.
struct Super {
  Object* receiver;
  Class* currentClass;
};

}  // namespace objc
