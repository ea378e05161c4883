#pragma once

#include <cstddef>

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

}  // namespace quorvin
