#pragma once

#include "platform/base/cstring.h"
#include "platform/base/platformapi.h"

#include <iosfwd>
#include <string_view>

/// Writes text as UTF-8 and adds nothing to it: no separators, no line ends but those in the text.
///
/// Throws: CbExceptionStream if the text could not be written.
class PLATFORM_API CbStreamWriteASCII
{
public:
    /// Lifetime: @p sink outlives the stream. A file is opened in binary mode, or the system may
    /// change the line ends.
    explicit CbStreamWriteASCII(std::ostream& sink) noexcept : sink_(sink) {}

    /// Lone surrogates become U+FFFD.
    CbStreamWriteASCII& operator<<(const CString& text) { return *this << text.ToUtf8(); }
    /// @param text UTF-8
    CbStreamWriteASCII& operator<<(std::string_view text);

private:
    std::ostream& sink_;
};
