#pragma once

#include "platform/base/cbalwaysinline.h"

// Hot loops are built a second time for processors that work on twice as many elements at a time:
// the same operations in the same order, never fused, so the same bits.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(_WIN32)
#define CB_WIDE_BUILD __attribute__((target("avx2")))
#else
#define CB_WIDE_BUILD
#endif

/// Whether this process runs the wide builds: where the processor can, and the environment variable
/// TREE_PLAIN_KERNELS is empty or not set. Found out once.
[[nodiscard]] bool CbRunsWideBuild() noexcept;

/// Returns the build of a function that this process runs. For initialising statics.
template<class Function>
[[nodiscard]] Function* CbFastestBuild(Function* plain, Function* wide) noexcept
{
    return CbRunsWideBuild() ? wide : plain;
}
