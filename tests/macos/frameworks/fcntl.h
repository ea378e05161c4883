// What macOS's <fcntl.h> has beyond the C library's own.
#pragma GCC system_header
#include_next <fcntl.h>

#ifndef QUORVIN_STANDIN_FCNTL_H
#define QUORVIN_STANDIN_FCNTL_H

#ifdef __cplusplus
extern "C" {
#endif

// Whether a write to a descriptor that nobody reads from any more fails without a signal.
#define F_SETNOSIGPIPE 73
#ifndef __APPLE__
// Every command of the program's that is the C library's own goes there.
int standinFileControl(int descriptor, int command, int argument);
#define fcntl(descriptor, command, argument) standinFileControl(descriptor, command, argument)
#endif

#ifdef __cplusplus
}
#endif

#endif
