#include "platform/base/cbstreamwriteascii.h"

#include "platform/base/cbexceptionstream.h"

#include <ostream>
#include <string>

CbStreamWriteASCII& CbStreamWriteASCII::operator<<(std::string_view text)
{
    // Unformatted: a width or fill of the sink is none of the text's.
    sink_.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!sink_) {
        throw CbExceptionStream(CB_HERE, std::to_string(text.size()) +
                                             " bytes of text could not be written");
    }
    return *this;
}
