#pragma once

#if defined(__cplusplus)
#define APPKIT_EXTERN extern "C"
#else
#define APPKIT_EXTERN extern
#endif
