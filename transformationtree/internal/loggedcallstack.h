#pragma once

#include "platform/base/cystackwalker.h"

/// The call stack as log messages show it: the three innermost calls, which all such messages have
/// in common, are left out.
[[nodiscard]] inline CString LoggedCallStack() noexcept
{
    return CyStackWalker::GetCallStack(64, 3);
}
