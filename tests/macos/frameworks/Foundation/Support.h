#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>

#include "tests/macos/runtime/References.h"
#include "tests/macos/standin/Objects.h"

// What the implementation of Foundation shares. Foundation counts references by hand.

// The reference that a function returns to its caller, as ARC-compiled code would return it.
template <typename T>
T* autoreleased(T* object) {
  objc_autoreleaseReturnValue(reinterpret_cast<objc::Object*>(object));
  return object;
}

@interface NSObject (StandIn)
// What CFGetTypeID() answers: the class that stands for the type.
- (Class)standInTypeClass;
@end

namespace standin {

// UTF-16 units of a text. Nil has none.
[[nodiscard]] std::u16string unitsOf(NSString* text);
// UTF-8 of a text; an unpaired surrogate becomes U+FFFD.
[[nodiscard]] std::string utf8Of(NSString* text);
// Autoreleased. Of UTF-8 that must be well formed.
[[nodiscard]] NSString* stringOf(std::u16string units);
[[nodiscard]] NSString* stringOf(std::string_view utf8);

// Raises NSInvalidArgumentException, NSRangeException.
[[noreturn]] void raiseInvalidArgument(const std::string& reason);
[[noreturn]] void raiseRange(const std::string& reason);

// Takes an object that lives as long as the process out of the count.
template <typename T>
T* immortal(T* object) {
  makeImmortal(object);
  return object;
}

}  // namespace standin
