#include "platform/datacontainer/internal/widebuild.h"

#include <cstdlib>

namespace
{

bool canRunWideBuild() noexcept
{
#if defined(__x86_64__) && defined(__GNUC__) && !defined(_WIN32)
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

bool isSwitchedOff() noexcept
{
    const char* const variable = std::getenv("TREE_PLAIN_KERNELS");
    return variable != nullptr && *variable != '\0';
}

} // namespace

bool CbRunsWideBuild() noexcept
{
    static const bool runs = canRunWideBuild() && !isSwitchedOff();
    return runs;
}
