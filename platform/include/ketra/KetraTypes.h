// The middleware's plain types. The names stay in the global namespace: they are part of the
// signatures that the library prints when an operation is used wrongly.
#pragma once

#include <climits>

/// One-byte truth value: 1 true, 0 false.
typedef unsigned char BOOL;

/// Unsigned integer of 32 bits: `unsigned long` where that has 32 bits (the TV), else `unsigned
/// int`.
#if ULONG_MAX == 0xFFFFFFFFUL
typedef unsigned long U32;
#else
typedef unsigned int U32;
#endif

static_assert(sizeof(BOOL) == 1, "BOOL is one byte");
static_assert(sizeof(U32) == 4, "U32 is 32 bits");

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
