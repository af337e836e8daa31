#pragma once

#include "platform/base/cstring.h"

/// The calls that led to the function that logs, as its messages show them.
[[nodiscard]] CString LoggedCallStack() noexcept;
