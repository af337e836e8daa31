#pragma once

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "platform/base/cstring.h"
#include "platform/base/platformapi.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

/// Unique identifier of 16 bytes; nil by default.
///
/// The bytes stand in the order of the text, so ids order like their texts.
class PLATFORM_API CyUniqueID
{
public:
    /// In the order of the text.
    using Bytes = std::array<std::uint8_t, 16>;

    /// Nil.
    constexpr CyUniqueID() noexcept = default;
    /// Takes any bytes, whether they say a version or not.
    constexpr explicit CyUniqueID(const Bytes& bytes) noexcept : bytes_(bytes) {}

    /// The id that stands for none: nil.
    [[nodiscard]] static constexpr CyUniqueID GetInvalidID() noexcept { return {}; }

    /// Becomes a new random id (version 4), never nil.
    /// Threads: each thread has its own generator. Cost: no system call after a thread's first id.
    void Renew();

    /// True if all bytes are 0.
    [[nodiscard]] bool IsNil() const noexcept { return *this == CyUniqueID(); }
    /// Text of 36 units, lower case: 8-4-4-4-12 digits.
    [[nodiscard]] CString ToString() const { return CString(CString::View(ToText().data(), 36)); }
    /// The same without an end mark.
    [[nodiscard]] std::array<CbWChar, 36> ToText() const noexcept;
    /// The bytes in the order of the text.
    [[nodiscard]] constexpr const Bytes& GetBytes() const noexcept { return bytes_; }

    /// Compares the bytes, the first one of the text first.
    friend bool operator==(const CyUniqueID& a, const CyUniqueID& b) noexcept
    {
        return std::memcmp(a.bytes_.data(), b.bytes_.data(), sizeof a.bytes_) == 0;
    }
    friend std::strong_ordering operator<=>(const CyUniqueID& a, const CyUniqueID& b) noexcept
    {
        return std::memcmp(a.bytes_.data(), b.bytes_.data(), sizeof a.bytes_) <=> 0;
    }

    /// Writes the 16 bytes.
    void Serialize(CbStreamWriteBinary& stream) const
    {
        stream.WriteBuffer(bytes_.data(), bytes_.size());
    }
    /// Reads the 16 bytes.
    /// Throws: CbExceptionStream if fewer are left; the id keeps its value.
    void Serialize(CbStreamReadBinary& stream) { stream.ReadBuffer(bytes_.data(), bytes_.size()); }

private:
    Bytes bytes_{};
};

/// Hash of all bytes of an id.
template<>
struct std::hash<CyUniqueID>
{
    /// Equal for equal ids.
    std::size_t operator()(const CyUniqueID& id) const noexcept
    {
        std::uint64_t halves[2];
        std::memcpy(halves, id.GetBytes().data(), sizeof halves);
        // The halves are turned against each other: equal ones must not cancel out.
        return static_cast<std::size_t>(halves[0] ^ (halves[1] << 31 | halves[1] >> 33));
    }
};
