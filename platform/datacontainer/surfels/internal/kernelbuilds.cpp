#include "platform/datacontainer/surfels/internal/kernelbuilds.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace
{

ECbKernelBuild newestRunning() noexcept
{
#if defined(__x86_64__) && defined(__GNUC__) && !defined(_WIN32)
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw")) {
        return ECbKernelBuild::Avx512;
    }
    if (__builtin_cpu_supports("avx2")) return ECbKernelBuild::Avx2;
#endif
    return ECbKernelBuild::Plain;
}

ECbKernelBuild newestWanted() noexcept
{
    const char* const variable = std::getenv("TREE_KERNELS");
    const std::string_view wanted = variable != nullptr ? variable : "";
    if (wanted == "plain") return ECbKernelBuild::Plain;
    if (wanted == "avx2") return ECbKernelBuild::Avx2;
    return ECbKernelBuild::Avx512;
}

} // namespace

ECbKernelBuild CbGetKernelBuild() noexcept
{
    static const ECbKernelBuild build = std::min(newestRunning(), newestWanted());
    return build;
}
