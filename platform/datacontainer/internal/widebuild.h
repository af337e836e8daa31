#pragma once

// Hot loops are built a second time for processors that work on twice as many elements at a time:
// the same operations in the same order, never fused, so the same bits.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(_WIN32)
#define CB_WIDE_BUILD __attribute__((target("avx2")))
#else
#define CB_WIDE_BUILD
#endif

/// Returns the wide build of a function where the processor can run it, else the other one. For
/// initialising statics.
template<class Function>
Function* CbFastestBuild(Function* plain, [[maybe_unused]] Function* wide) noexcept
{
#if defined(__x86_64__) && defined(__GNUC__) && !defined(_WIN32)
    if (__builtin_cpu_supports("avx2")) return wide;
#endif
    return plain;
}
