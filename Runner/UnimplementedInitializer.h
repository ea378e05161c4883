#pragma once

#include <string_view>

#include "platform/Fatal.h"
#include "platform/Platform.h"

namespace quorvin {

// For the parameterless constructors that must not be used: stops the process before any member
// exists. Returns a reference in name only, so that it can stand first in the initializer list.
[[noreturn]] inline Platform& unimplementedInitializer(std::string_view className) {
  fatalUnimplementedInitializer(className, "init()");
}

}  // namespace quorvin
