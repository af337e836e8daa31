#pragma once

#include "platform/base/cbalwaysinline.h"

/// @file
/// Builds of hot loops for newer processors, which work on more elements at a time: the same
/// operations in the same order, never fused, so the same bits.

#if defined(__x86_64__) && defined(__GNUC__) && !defined(_WIN32)
#define CB_BUILD_FOR_AVX2 __attribute__((target("avx2")))
#if defined(__clang__)
#define CB_BUILD_FOR_AVX512 __attribute__((target("avx512f,avx512vl,avx512dq,avx512bw")))
#else
#define CB_BUILD_FOR_AVX512                                                                        \
    __attribute__((target("avx512f,avx512vl,avx512dq,avx512bw,prefer-vector-width=512")))
#endif
#else
#define CB_BUILD_FOR_AVX2
#define CB_BUILD_FOR_AVX512
#endif

/// What a build is for, the oldest processors first.
enum class ECbKernelBuild
{
    Plain,
    Avx2,
    Avx512
};

/// The build that this process runs: the newest one that the processor can, but none newer than the
/// environment variable TREE_KERNELS says with "plain" or "avx2". Found out once.
[[nodiscard]] ECbKernelBuild CbGetKernelBuild() noexcept;

/// All builds of a kernel, which is a function declared with CB_ALWAYS_INLINE.
template<auto Kernel>
struct CbKernelBuilds;

template<class Result, class... Args, Result (*Kernel)(Args...) noexcept>
struct CbKernelBuilds<Kernel>
{
    static Result Plain(Args... args) noexcept { return Kernel(args...); }
    CB_BUILD_FOR_AVX2 static Result Avx2(Args... args) noexcept { return Kernel(args...); }
    CB_BUILD_FOR_AVX512 static Result Avx512(Args... args) noexcept { return Kernel(args...); }
};

/// Returns the build of a kernel that this process runs. For initialising statics.
template<auto Kernel>
[[nodiscard]] auto CbFastestBuild() noexcept
{
    using Builds = CbKernelBuilds<Kernel>;
    switch (CbGetKernelBuild()) {
    case ECbKernelBuild::Avx512:
        return &Builds::Avx512;
    case ECbKernelBuild::Avx2:
        return &Builds::Avx2;
    case ECbKernelBuild::Plain:
        break;
    }
    return &Builds::Plain;
}
