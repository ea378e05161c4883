#pragma once

// As on x86-64. On Apple's own processors it is signed.
typedef unsigned int boolean_t;
