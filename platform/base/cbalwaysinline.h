#pragma once

/// @file
/// Functions that are always inlined.

/// Declares a function that stands in a loop, which is worked on several elements at a time only
/// if it is inlined, or one that is to be no call of its own in call stacks.
#if defined(_MSC_VER)
#define CB_ALWAYS_INLINE __forceinline
#else
#define CB_ALWAYS_INLINE __attribute__((always_inline)) inline
#endif
