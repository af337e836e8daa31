#include "platform/base/cbstreamreadbinary.h"

#include "platform/base/cbexceptionstream.h"

#include <string>

CbStreamReadBinary& CbStreamReadBinary::operator>>(CString& text)
{
    std::uint32_t length = 0;
    if (Remaining() < sizeof length) throwShort(sizeof length);
    std::memcpy(&length, position_, sizeof length);
    const std::size_t bytes = std::size_t{length} * sizeof(CbWChar);
    if (bytes > Remaining() - sizeof length) throwShort(sizeof length + bytes);

    text = CString::FromUnits(position_ + sizeof length, length);
    position_ += sizeof length + bytes;
    return *this;
}

std::uint32_t CbStreamReadBinary::readVersion()
{
    std::uint32_t version = 0;
    *this >> version;
    return version;
}

void CbStreamReadBinary::throwShort(std::size_t bytes) const
{
    throw CbExceptionStream(CB_HERE, std::to_string(bytes) + " bytes wanted, " +
                                         std::to_string(Remaining()) + " left");
}
