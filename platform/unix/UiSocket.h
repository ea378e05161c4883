#pragma once

#include <string>

#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// The environment variable that names the descriptor of the UI link to the program that has
// inherited it.
inline constexpr auto uiDescriptorVariable = "QUORVIN_UI_FD";

// Takes over the inherited, connected stream socket whose number `text` is, and keeps it from
// being inherited further. Throws std::runtime_error, naming the variable, when it is anything
// else.
[[nodiscard]] FileDescriptor takeInheritedUiSocket(const std::string& text);

}  // namespace quorvin
