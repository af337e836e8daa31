#pragma once

#include "platform/base/cstring.h"
#include "platform/base/platformapi.h"

#include <cstddef>

/// Describes the calls that led to a place, for diagnostics.
class PLATFORM_API CyStackWalker
{
public:
    CyStackWalker() = delete;

    /// The calls of this thread, innermost first, one line each: the name of the function if the
    /// system knows it, and its module with the offset in it. Empty if the system can't tell.
    /// Never throws.
    /// @param maxFrames largest number of lines
    /// @param skip number of innermost calls to leave out; with 0 the caller of this function is
    /// first
    [[nodiscard]] static CString GetCallStack(std::size_t maxFrames = 64,
                                              std::size_t skip = 0) noexcept;
};
