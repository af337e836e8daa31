#pragma once

#include "platform/base/cbstreamread.h"
#include "platform/base/cstring.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

static_assert(std::endian::native == std::endian::little, "values are copied as they are stored");

/// Reads what CbStreamWriteBinary wrote, out of memory.
///
/// Each read is all or nothing: if the bytes left do not suffice, CbExceptionStream is thrown,
/// and both the destination and the place in the stream stay as they were.
class PLATFORM_API CbStreamReadBinary : public CbStreamRead
{
public:
    /// Any byte but 0 reads as true.
    CbStreamReadBinary& operator>>(bool& value)
    {
        std::uint8_t byte;
        readValue(byte);
        value = byte != 0;
        return *this;
    }
    /// As many bytes as the type has; the bit pattern is kept.
    CbStreamReadBinary& operator>>(std::int32_t& value) { return readValue(value); }
    CbStreamReadBinary& operator>>(std::uint32_t& value) { return readValue(value); }
    CbStreamReadBinary& operator>>(std::int64_t& value) { return readValue(value); }
    CbStreamReadBinary& operator>>(std::uint64_t& value) { return readValue(value); }
    CbStreamReadBinary& operator>>(float& value) { return readValue(value); }
    CbStreamReadBinary& operator>>(double& value) { return readValue(value); }
    /// Number of units in four bytes, then the units of two bytes each. A number that the stream
    /// can't hold is found before memory is taken.
    CbStreamReadBinary& operator>>(CString& text);
    template<class T>
    CbStreamReadBinary& operator>>(T&) = delete;

    /// Reads raw bytes. @p data may be null if @p bytes is 0.
    void ReadBuffer(void* data, std::size_t bytes)
    {
        if (bytes == 0) return;
        if (bytes > Remaining()) throwShort(bytes);
        std::memcpy(data, position_, bytes);
        position_ += bytes;
    }
    /// Number of bytes left. A stored count that asks for more can't be right.
    [[nodiscard]] std::size_t Remaining() const noexcept
    {
        return static_cast<std::size_t>(end_ - position_);
    }
    /// Passes over bytes.
    void Skip(std::size_t bytes) { (void)ReadView(bytes); }
    /// Passes over bytes and returns them where they lie, to be read as a stream of their own.
    /// Lifetime: that of the memory this stream reads.
    [[nodiscard]] std::span<const std::uint8_t> ReadView(std::size_t bytes)
    {
        if (bytes > Remaining()) throwShort(bytes);
        const std::span<const std::uint8_t> view(position_, bytes);
        position_ += bytes;
        return view;
    }

protected:
    /// Lifetime: the bytes outlive the stream.
    explicit CbStreamReadBinary(std::span<const std::uint8_t> bytes) noexcept
        : position_(bytes.data()), end_(bytes.data() + bytes.size())
    {}

    [[nodiscard]] std::uint32_t readVersion() override;

private:
    template<class T>
    CbStreamReadBinary& readValue(T& value)
    {
        ReadBuffer(&value, sizeof value);
        return *this;
    }
    [[noreturn]] void throwShort(std::size_t bytes) const;

    const std::uint8_t* position_; ///< the next byte
    const std::uint8_t* end_;
};
