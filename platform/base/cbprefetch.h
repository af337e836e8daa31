#pragma once

/// @file
/// A hint for the processor.

#if defined(_MSC_VER)
#include <intrin.h>
#endif

/// Asks the processor to fetch the cache line of an address that is about to be used. The address
/// need not be valid.
inline void CbPrefetch(const void* address) noexcept
{
#if defined(_MSC_VER)
    _mm_prefetch(static_cast<const char*>(address), _MM_HINT_T0);
#else
    __builtin_prefetch(address);
#endif
}

/// Likewise, into the second cache only: for many addresses that are used a little later. Far more
/// such requests can be under way at the same time.
inline void CbPrefetchEarly(const void* address) noexcept
{
#if defined(_MSC_VER)
    _mm_prefetch(static_cast<const char*>(address), _MM_HINT_T1);
#else
    __builtin_prefetch(address, 0, 2);
#endif
}
