#pragma once

#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// What a function writes to a stream.
template<class Write>
Bytes Stored(const Write& write)
{
    CyStreamWriteBinaryBuffer stream;
    write(stream);
    return {stream.GetBytes().begin(), stream.GetBytes().end()};
}

/// Lets a function read bytes that are not its own to read past, and returns how many it left.
template<class Read>
std::size_t ReadFrom(const Bytes& bytes, const Read& read)
{
    CyStreamReadBinaryBuffer stream(bytes);
    read(stream);
    return stream.Remaining();
}

/// Expects an exception whose place is fixed.
template<class Exception, class Call>
void ExpectThrowsFrom(const char* file, unsigned line, const Call& call)
{
    try {
        call();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.GetFile(), file);
        EXPECT_EQ(exception.GetLine(), line);
    }
}
