#pragma once

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cystreamwritebinarybuffer.h"

/// Reads bytes in memory that belong to somebody else.
///
/// Lifetime: the bytes outlive the stream and do not change.
class PLATFORM_API CyStreamReadBinaryBuffer : public CbStreamReadBinary
{
public:
    /// Reads what a view holds; an empty one will do.
    explicit CyStreamReadBinaryBuffer(std::span<const std::uint8_t> bytes) noexcept;
    /// @param data may be null if @p bytes is 0
    CyStreamReadBinaryBuffer(const void* data, std::size_t bytes) noexcept;
    /// Reads what was written to @p buffer so far.
    explicit CyStreamReadBinaryBuffer(const CyStreamWriteBinaryBuffer& buffer) noexcept;
    ~CyStreamReadBinaryBuffer() override;
};
