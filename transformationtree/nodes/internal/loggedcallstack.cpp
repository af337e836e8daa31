#include "transformationtree/nodes/internal/loggedcallstack.h"

#include "platform/base/cystackwalker.h"

// One call of its own, neither inlined nor replaced by the call that it ends with.
#if defined(_MSC_VER) && !defined(__clang__)
__declspec(noinline)
#else
__attribute__((noinline))
#endif
    CString LoggedCallStack() noexcept
{
    const volatile char last = 0;
    CString calls = CyStackWalker::GetCallStack(64, 2);
    (void)last; // read behind the call, so that this one stays on the stack until then
    return calls;
}
