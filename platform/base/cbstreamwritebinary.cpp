#include "platform/base/cbstreamwritebinary.h"

#include "platform/base/cbexceptionstream.h"

#include <limits>
#include <string>

CbStreamWriteBinary& CbStreamWriteBinary::operator<<(const CString& text)
{
    static_assert(sizeof(CbWChar) == 2);
    if (text.GetLength() > std::numeric_limits<std::uint32_t>::max()) {
        throw CbExceptionStream(CB_HERE, "text of " + std::to_string(text.GetLength()) + " units");
    }
    *this << static_cast<std::uint32_t>(text.GetLength());
    WriteBuffer(text.GetString(), text.GetLength() * sizeof(CbWChar));
    return *this;
}
