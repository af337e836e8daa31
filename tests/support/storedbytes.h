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

/// What an object writes of itself.
template<class Object>
Bytes RecordOf(const Object& object)
{
    return Stored([&](auto& stream) { object.Serialize(stream); });
}

/// Lets an object read itself, and returns how many bytes it left.
template<class Object>
std::size_t ReadRecord(Object& object, const Bytes& bytes)
{
    return ReadFrom(bytes, [&](auto& stream) { object.Serialize(stream); });
}

/// Expects an exception whose place is fixed.
template<class Exception, class Call>
void ExpectThrowsFrom(const char* file, unsigned line, const Call& call,
                      const char* function = nullptr)
{
    try {
        call();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.GetFile(), file);
        EXPECT_EQ(exception.GetLine(), line);
        if (function != nullptr) {
            EXPECT_EQ(exception.GetFunction(), function);
        }
    }
}

/// Expects an exception wherever bytes are cut short, from @p begin on; each piece is memory of its
/// own, so that reading on is noticed. Then checks what is left.
template<class Exception, class Read, class Check>
void ExpectCutsThrow(const Bytes& bytes, const Read& read, const Check& check,
                     std::size_t begin = 0)
{
    for (std::size_t length = begin; length < bytes.size(); ++length) {
        SCOPED_TRACE(length);
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        ASSERT_THROW(read(cut), Exception);
        check(length);
    }
}
template<class Exception, class Read>
void ExpectCutsThrow(const Bytes& bytes, const Read& read)
{
    ExpectCutsThrow<Exception>(bytes, read, [](std::size_t) {});
}
