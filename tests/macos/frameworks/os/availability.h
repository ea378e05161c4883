#pragma once

// Availability marks say nothing off a Mac, where there is no deployment target to hold against.
#define API_AVAILABLE(...)
#define API_UNAVAILABLE(...)
#define API_DEPRECATED(...)
#define API_DEPRECATED_WITH_REPLACEMENT(...)
