#pragma once

#include "platform/base/cstring.h"

/// The calls that led to the function that calls this one, the one of its caller first, as log
/// messages show them. Whoever calls this must be no function that the compiler may inline.
[[nodiscard]] CString LoggedCallStack() noexcept;
