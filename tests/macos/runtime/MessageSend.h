#pragma once

#include "tests/macos/runtime/Abi.h"

extern "C" void objc_msgSend();

namespace objc {

// Sends a message from C++. The type arguments are the method's result and argument types.
template <typename Result = Object*, typename... Arguments>
Result send(Object* receiver, Selector selector, Arguments... arguments) {
  const auto call = reinterpret_cast<Result (*)(Object*, Selector, Arguments...)>(&objc_msgSend);
  return call(receiver, selector, arguments...);
}

}  // namespace objc
