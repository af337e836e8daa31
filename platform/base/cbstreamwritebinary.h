#pragma once

#include "platform/base/cbstreamwrite.h"
#include "platform/base/cstring.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "values are copied as they are stored");

/// Writes values one behind the other: little-endian, unpadded, untagged.
///
/// Overloads are exact, so the bytes of a record follow from the types of its members: whatever is
/// not listed is refused by the compiler, instead of being converted to something narrower.
///
/// Cost: a value is copied into the room at hand; only more room costs a virtual call.
class PLATFORM_API CbStreamWriteBinary : public CbStreamWrite
{
public:
    /// One byte, 0 or 1.
    CbStreamWriteBinary& operator<<(bool value)
    {
        return writeValue(static_cast<std::uint8_t>(value ? 1 : 0));
    }
    /// As many bytes as the type has.
    CbStreamWriteBinary& operator<<(std::int32_t value) { return writeValue(value); }
    CbStreamWriteBinary& operator<<(std::uint32_t value) { return writeValue(value); }
    CbStreamWriteBinary& operator<<(std::int64_t value) { return writeValue(value); }
    CbStreamWriteBinary& operator<<(std::uint64_t value) { return writeValue(value); }
    /// Four bytes; the bit pattern is kept.
    CbStreamWriteBinary& operator<<(float value) { return writeValue(value); }
    /// Eight bytes; the bit pattern is kept.
    CbStreamWriteBinary& operator<<(double value) { return writeValue(value); }
    /// Number of units in four bytes, then the units of two bytes each.
    /// Throws: CbExceptionStream for a text too long to be counted so; nothing is written.
    CbStreamWriteBinary& operator<<(const CString& text) { return *this << text.GetView(); }
    CbStreamWriteBinary& operator<<(CString::View text);
    template<class T>
    CbStreamWriteBinary& operator<<(const T&) = delete;

    /// Four bytes.
    void WriteVersion(std::uint32_t version) override { writeValue(version); }
    /// Writes raw bytes. @p data may be null if @p bytes is 0, and must not be the stream's own.
    void WriteBuffer(const void* data, std::size_t bytes)
    {
        if (bytes == 0) return;
        if (bytes > static_cast<std::size_t>(end_ - position_)) makeRoom(bytes);
        std::memcpy(position_, data, bytes);
        position_ += bytes;
    }

protected:
    CbStreamWriteBinary() = default;

    /// Sees to it that at least @p bytes fit between position_ and end_.
    virtual void makeRoom(std::size_t bytes) = 0;

    std::uint8_t* position_ = nullptr; ///< where the next byte goes
    std::uint8_t* end_ = nullptr;      ///< end of the room at hand

private:
    template<class T>
    CbStreamWriteBinary& writeValue(T value)
    {
        WriteBuffer(&value, sizeof value);
        return *this;
    }
};
