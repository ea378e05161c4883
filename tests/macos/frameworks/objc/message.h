#pragma once

#include <objc/objc.h>

// To be cast to the type of the method before it is called.
OBJC_EXPORT void objc_msgSend(void);
