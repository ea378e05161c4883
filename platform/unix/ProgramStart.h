#pragma once

#include <cstddef>

namespace quorvin {

// What each program does before anything else, whatever its parent has left it with:
//
// - Descriptors 0 to 2 lead somewhere. Where they are closed, the next socket or file that is
// opened
//   takes the number, and what is meant for standard error is written into it.
// - No signal is blocked, and a child's end is reported.
// - A write that nobody reads, or that is too much for a file, fails with an error. Programs that
//   are started from here find these signals as usual.
//
// One thread. Ends the process when there is nothing to fill a descriptor with.
void prepareProcess();

// Throws std::system_error unless the system gives so many threads at once. GLib, and what is built
// on it, ends the process when it cannot have one.
void requireThreads(std::size_t count);

}  // namespace quorvin
