#include "transformationtree/internal/loggedcallstack.h"

#include "platform/base/cystackwalker.h"

// Not inlined, so that it is one call of its own: three are left out, the walk, this one and the
// function that logs, of which the walk leaves itself out anyway.
#if defined(_MSC_VER) && !defined(__clang__)
__declspec(noinline)
#else
__attribute__((noinline))
#endif
    CString LoggedCallStack() noexcept
{
    return CyStackWalker::GetCallStack(64, 2);
}
