#pragma once

// A member of one of its structures is named like a keyword of C++.
#define explicit explicitComponents
#include <xcb/xkb.h>
#undef explicit
