#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace quorvin {

// Stops the process because the program itself broke a promise; never used for bad input.
[[noreturn]] inline void fatalError(std::string_view message) {
  std::fprintf(stderr, "Fatal error: %.*s\n", static_cast<int>(message.size()), message.data());
  std::fflush(stderr);
  std::abort();
}

[[noreturn]] inline void fatalUnimplementedInitializer(std::string_view className,
                                                       std::string_view initializer) {
  std::fprintf(stderr, "Fatal error: Use of unimplemented initializer '%.*s' for class '%.*s'\n",
               static_cast<int>(initializer.size()), initializer.data(),
               static_cast<int>(className.size()), className.data());
  std::fflush(stderr);
  std::abort();
}

}  // namespace quorvin
