// What macOS's <time.h> has beyond the C library's own.
#pragma GCC system_header
#include_next <time.h>

#ifndef QUORVIN_STANDIN_TIME_H
#define QUORVIN_STANDIN_TIME_H

#ifdef __cplusplus
extern "C" {
#endif

// Nanoseconds that do not count while the machine sleeps; here those of the virtual clock.
#define CLOCK_UPTIME_RAW 8
unsigned long clock_gettime_nsec_np(clockid_t clock);

#ifdef __cplusplus
}
#endif

#endif
