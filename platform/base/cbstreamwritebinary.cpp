#include "platform/base/cbstreamwritebinary.h"

#include "platform/base/cbexceptionstream.h"

#include <limits>
#include <string>

CbStreamWriteBinary& CbStreamWriteBinary::operator<<(CString::View text)
{
    static_assert(sizeof(CbWChar) == 2);
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw CbExceptionStream(CB_HERE, "a text of " + std::to_string(text.size()) +
                                             " units is too long to be stored");
    }
    *this << static_cast<std::uint32_t>(text.size());
    WriteBuffer(text.data(), text.size() * sizeof(CbWChar));
    return *this;
}
