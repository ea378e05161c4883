#pragma once

#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// What each program does before anything else, whatever its parent has left it with:
//
// - Opens descriptors 0 to 2 if they are closed. Otherwise the next socket or file would take the
//   number, and what is meant for standard error would be written into it.
// - Unblocks all signals, and has a child's end reported.
// - Makes a write that nobody reads, or that is too much for a file, fail with an error. Programs
//   that are started from here find these signals as usual.
//
// One thread. Ends the process when there is nothing to fill a descriptor with.
void prepareProcess();

// Throws std::system_error unless the system gives so many threads at once. GLib, and what is built
// on it, ends the process when it cannot have one.
void requireThreads(std::size_t count);

// A variable of the environment; empty when it is not set.
[[nodiscard]] inline std::string environmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// Prints which version this is when that is what a program's only argument asks for, "--version",
// and returns whether it did. Beside any other argument it may be that one's value.
[[nodiscard]] bool printVersion(std::string_view onlyArgument);

// Of the whole program, like "0.1.0".
[[nodiscard]] const char* programVersion();

// The environment variable that names the descriptor of the UI link to the program that has
// inherited it.
inline constexpr auto uiDescriptorVariable = "QUORVIN_UI_FD";

// Takes over the inherited, connected stream socket whose number `text` is, and keeps it from
// being inherited further. Throws std::runtime_error, naming the variable, when it is anything
// else.
[[nodiscard]] FileDescriptor takeInheritedUiSocket(const std::string& text);

}  // namespace quorvin
