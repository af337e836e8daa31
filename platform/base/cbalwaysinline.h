#pragma once

/// @file
/// Functions that stand in loops.

/// Declares a function that is always inlined: loops over it are worked on several elements at a
/// time only then.
#if defined(_MSC_VER)
#define CB_ALWAYS_INLINE __forceinline
#else
#define CB_ALWAYS_INLINE __attribute__((always_inline)) inline
#endif
