#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace quorvin {

struct Platform;

// Stops the process because the program itself broke a promise; never used for bad input.
[[noreturn]] inline void fatalError(std::string_view message) {
  std::fprintf(stderr, "Fatal error: %.*s\n", static_cast<int>(message.size()), message.data());
  std::fflush(stderr);
  std::abort();
}

// For the parameterless constructors that must not be used: stops the process before any member
// exists. Returns a reference in name only, so that it can stand first in the initializer list.
[[noreturn]] inline Platform& unimplementedInitializer(std::string_view className) {
  fatalError("Use of unimplemented initializer 'init()' for class '" + std::string(className) +
             "'");
}

}  // namespace quorvin
